#pragma once

#include <QDir>
#include <QString>

#include <functional>
#include <stdexcept>
#include <string>

class QAbstractScrollArea;
class QComboBox;
class QMenu;
class QPoint;
class QRect;
class QWidget;

namespace Tessaly {

class MainWindow;
struct MainPanels;

/// An expectation that was not met, as a sentence.
struct TourFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The user of the tour: looks at the main window, acts on it with mouse and keys, and takes pictures.
class Tour {
public:
    Tour(MainWindow& window, const QString& dataFolder, const QString& outputFolder);

    MainWindow& window() { return window_; }
    const MainPanels& panels() const;
    QString dataFolder() const { return dataFolder_; }
    int pictureCount() const { return pictures_; }

    /// Saves the window, with menus and dialogs over it, as "NN-name.png". Throws if it can't be written.
    void picture(const QString& name);
    /// The same of a window beside the main window.
    void pictureOf(QWidget& window, const QString& name);

    /// Throws TourFailure with the sentence unless the condition holds.
    static void expect(bool condition, const QString& sentence);
    /// Lets the program run until the condition holds; throws after the time.
    static void waitFor(const std::function<bool()>& condition, const QString& sentence, int milliseconds = 30000);
    /// Lets the program paint and finish what it has put off.
    static void settle();

    /// A part of the window by its object name. Throws if there is none.
    template <typename T>
    T* find(const char* name);

    /// Clicks in the middle of a widget that must be visible and enabled.
    void click(QWidget* widget);
    void clickAt(QWidget* widget, const QPoint& position);
    /// Clicks what can be seen of a row of a list or tree.
    void clickRow(QAbstractScrollArea* view, const QRect& row);
    /// Presses and moves in steps; release() ends it.
    void dragTo(QWidget* widget, const QPoint& from, const QPoint& to);
    void release(QWidget* widget, const QPoint& position);
    /// Replaces the text of a field and presses Return.
    void typeInto(QWidget* field, const QString& text);
    /// Opens a combo box and takes a row with the keys.
    void choose(QComboBox* combo, int row);
    /// Takes the row of a feature.
    void chooseFeature(const char* comboName, const std::string& key);
    /// Chooses a tab of the docks by its text.
    void clickDockTab(const QString& title);
    /// Opens a menu of the menu bar.
    QMenu* openMenu(const QString& title);
    /// Clicks an entry of an open menu.
    void clickMenuEntry(QMenu* menu, const QString& text);
    /// Opens the context menu of a row of a list or tree.
    QMenu* openContextMenu(QAbstractScrollArea* view, const QRect& row);
    /// Drops a path from the desktop onto the window.
    void dropOnWindow(const QString& path);

    /// Does something that brings up a message box, takes its picture and clicks a button.
    /// @param answer  a QMessageBox::StandardButton that the box must have
    void expectBox(const std::function<void()>& action, const QString& title, const QString& text,
                   const QString& pictureName, int answer);

private:
    QWidget* findWidget(const char* name) const;

    MainWindow& window_;
    QString dataFolder_;
    QDir output_;
    int pictures_ = 0;
};

template <typename T>
T* Tour::find(const char* name) {
    T* widget = qobject_cast<T*>(findWidget(name));
    expect(widget != nullptr, QStringLiteral("The window has a part \"%1\".").arg(QLatin1String(name)));
    return widget;
}

} // namespace Tessaly
