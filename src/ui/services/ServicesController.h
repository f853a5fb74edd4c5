#pragma once

#include "services/Deployment.h"
#include "services/PrivateTexts.h"

#include <QObject>
#include <QString>

#include <functional>

class QWidget;

namespace Tessaly {

class FeedbackSender;
class PlotController;
class Session;
class UpdateChecker;

/// What stands under "Help": the manual, the check for a newer version, the feedback report, the About dialog. Opens
/// the manual at the page of the control that has the focus when F1 is pressed, in whatever window.
class ServicesController : public QObject {
    Q_OBJECT

public:
    /// @param window  parent of dialogs
    ServicesController(Session& session, const PlotController& plot, QWidget* window,
                       Deployment deployment = builtInDeployment());
    ~ServicesController() override;

    /// Where the recent log lines of a report come from; without it a report has none.
    void setRecentLog(std::function<QString()> recentLog) { recentLog_ = std::move(recentLog); }

    /// Opens another window with the manual, or says where it was looked for.
    /// @param page  of the manual, such as "filters.html#groups"
    void openManual(const QString& page = QStringLiteral("index.html"));
    /// @param silent  tells of a newer version only, and not of one that the user wants to hear no more of
    void checkForUpdates(bool silent);
    /// Shows a report and sends it if the user agrees.
    /// @param errorTitle, errorMessage  what it is about; empty if it is about nothing special
    void sendFeedback(const QString& errorTitle = {}, const QString& errorMessage = {});
    void showAbout();

    /// Whether every start of the program checks silently; kept in the settings from run to run.
    static bool checksOnStartup();
    static void setChecksOnStartup(bool on);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void makeChecker();
    void tellUpdate(const QString& version, const QString& page, const QString& notes);
    void openPage(const QString& page);
    void collectPrivateTexts();
    QString hiddenLog();

    Session& session_;
    const PlotController& plot_;
    QWidget* window_;
    Deployment deployment_;
    PrivateTexts private_; ///< of the whole run
    std::function<QString()> recentLog_;
    UpdateChecker* checker_ = nullptr; ///< made at first use
    FeedbackSender* sender_ = nullptr; ///< made at first use
    bool silent_ = false;              ///< the check that was started last
};

} // namespace Tessaly
