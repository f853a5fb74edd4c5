#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QWidget;

namespace Tessaly {

class ColorMapSetting;
class DatasetLoader;
class Session;
class ToolWindows;
struct SessionDocument;
struct SessionLoad;
struct UserMessage;

/// What the user does with sessions as a whole: save, load, clear.
///
/// Loading has two halves. First questions: which file, and what about datasets that are missing or have changed. Then
/// the loader opens the files one after the other, while the user may go on working; when it has run empty everything
/// that the file keeps is applied at once. Whatever happens on the way, the load is over at the end.
class SessionController : public QObject {
    Q_OBJECT

public:
    /// @param window  parent of dialogs
    SessionController(Session& session, DatasetLoader& loader, ColorMapSetting& colorMap, ToolWindows& tools,
                      QWidget* window);
    ~SessionController() override;

    /// Asks for a file and writes all datasets' arrangement, the groups, and the windows that sessions keep.
    void saveSession();
    /// Asks for a file and replaces all that is open by what it holds.
    void loadSession();
    /// Empties the session, after a question; without one while a session is being loaded.
    void clearSession();

    /// Whether files of a session are being loaded, to be restored when they are all there.
    bool sessionLoading() const { return load_ != nullptr; }
    /// Leaves a session that is being loaded as far as it has come.
    void giveUpLoading();

signals:
    /// The records are about to be read: what is still being typed has to be in them.
    void aboutToSave();
    void statusChanged(const QString& text);
    /// The dataset to be shown is shown; the user was looking at this event of it, which filters may leave out.
    void eventRestored(int datasetId, int event);

private:
    bool isEmpty() const;
    void dropAll();
    void tell(const UserMessage& message);
    QString askWhereToSave();
    /// A session file that the user has chosen and that can be read. Null otherwise, after telling why.
    std::shared_ptr<SessionLoad> askWhatToLoad();
    void restore();
    void apply(SessionLoad& load);

    Session& session_;
    DatasetLoader& loader_;
    ColorMapSetting& colorMap_;
    ToolWindows& tools_;
    QWidget* window_;
    QString path_;                      ///< of the session saved or loaded last
    std::shared_ptr<SessionLoad> load_; ///< while a session is being loaded
    bool applying_ = false;
};

} // namespace Tessaly
