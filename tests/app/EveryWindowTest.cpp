#include "services/HelpPages.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"
#include "ui/MainWindow.h"
#include "ui/calculations/EModQualityDialog.h"
#include "ui/filters/GroupSelectionDialog.h"

#include <QAbstractSpinBox>
#include <QAccessible>
#include <QFile>
#include <QFileDialog>
#include <QMenu>
#include <QPushButton>
#include <QTabBar>
#include <QTest>
#include <QThreadPool>
#include <QTimer>

#include <gtest/gtest.h>

#include <map>

namespace Tessaly {
namespace {

/// The controls of a window that a screen reader can't tell anything of.
QStringList nameless(const QWidget& window) {
    QStringList found;
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        const bool partOfAnother = widget->objectName().startsWith("qt_") || widget->window() != &window ||
                                   !(widget->focusPolicy() & Qt::TabFocus) || qobject_cast<QTabBar*>(widget) ||
                                   qobject_cast<QAbstractSpinBox*>(widget->parentWidget());
        const QAccessibleInterface* interface = partOfAnother ? nullptr : QAccessible::queryAccessibleInterface(widget);
        if (interface && interface->text(QAccessible::Name).isEmpty()) {
            found += QString("%1 %2 in %3")
                         .arg(widget->metaObject()->className(), widget->objectName(), window.windowTitle());
        }
    }
    return found;
}

/// Every window and dialog of the program, in a session of two datasets and a filter group.
class EveryWindowTest : public testing::Test {
protected:
    EveryWindowTest() {
        QObject::connect(&timer, &QTimer::timeout, [this] { visitDialog(); });
        timer.start(5);
        window.show();
        for (const char* name : {"one.vqd", "two.vqd"}) {
            writeSampleFile(folder.file(name), {});
            window.openDataset(QString::fromStdString(folder.file(name)));
        }
        EXPECT_TRUE(QTest::qWaitFor(
            [this] { return window.datasets().size() == 2 && window.datasets()[1]->featuresLoaded; }, 20000));
        press(window, "addGroupButton");
        press(window, "addRuleButton");
    }
    ~EveryWindowTest() override { QThreadPool::globalInstance()->waitForDone(); }

    static void press(const QWidget& in, const char* name) {
        auto* button = in.findChild<QAbstractButton*>(name);
        ASSERT_TRUE(button) << name;
        QTest::mouseClick(button, Qt::LeftButton);
        QApplication::processEvents();
    }

    /// Triggers every entry of the main window's menus, but for those that end or empty the session.
    void chooseEverything() {
        for (QAction* action : window.findChildren<QAction*>(QRegularExpression("Action$"))) {
            const bool ends = action->objectName() == "exitAction" || action->objectName() == "clearSessionAction";
            const bool inMenu =
                !action->associatedObjects().isEmpty() && qobject_cast<QMenu*>(action->associatedObjects().first());
            if (inMenu && !ends && action->isEnabled() && !action->isCheckable()) {
                action->trigger();
                // Boxes that aren't waited for, too, are visited before the next.
                EXPECT_TRUE(QTest::qWaitFor([] { return !QApplication::activeModalWidget(); }));
                QApplication::processEvents();
            }
        }
    }

    /// The windows beside the main window that stand now, by object name.
    static std::map<QString, QWidget*> otherWindows() {
        std::map<QString, QWidget*> found;
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (widget->isVisible() && widget->objectName() != "mainWindow" && !qobject_cast<QMenu*>(widget)) {
                found[widget->objectName()] = widget;
            }
        }
        return found;
    }

    static void closeOthers() {
        for (const auto& [name, other] : otherWindows()) {
            other->close();
        }
        // They go before the session does that they show.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    QStringList faults;
    QStringList dialogs; ///< object names of those that came up

    TemporaryFolder folder;
    MainWindow window;

private:
    void visitDialog() {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible()) {
            return;
        }
        dialogs += dialog->objectName();
        if (!qobject_cast<QFileDialog*>(dialog)) { // the toolkit's own
            faults += nameless(*dialog);
        }
        dialog->reject();
    }

    QTimer timer;
};

TEST_F(EveryWindowTest, HasANameForEveryControlAndAPageInTheManual) {
    chooseEverything();
    (new EModQualityDialog({}, "one", &window))->show();
    askGroupsToExport(&window, window.filterGroups());
    const auto open = otherWindows();
    for (const char* name : {"combinePlotWindow", "imageGalleryWindow", "filterGroupsMatrixWindow", "helpWindow",
                             "statisticalEvalWindow", "qualityDialog"}) {
        ASSERT_TRUE(open.contains(name)) << name;
    }
    QWidget& combine = *open.at("combinePlotWindow");
    press(combine, "combineAddButton");
    press(combine, "combineAddAllButton");
    for (const auto& [name, other] : open) {
        faults += nameless(*other);
    }
    faults += nameless(window);
    EXPECT_EQ(faults.join("\n").toStdString(), "");
    for (const char* name : {"exportDialog", "statSummaryDialog", "aboutDialog", "feedbackDialog", "exportGroupsDialog",
                             "addDatasetsDialog"}) {
        EXPECT_TRUE(dialogs.contains(name)) << name << " of " << dialogs.join(" ").toStdString();
    }
    // Whatever window that is, F1 finds a page about it.
    for (const auto& [name, other] : open) {
        EXPECT_TRUE(name == "helpWindow" || helpPageFor(other) != "index.html")
            << name.toStdString() << ", a " << other->metaObject()->className();
    }
    closeOthers();
}

TEST_F(EveryWindowTest, HasShortcutsThatTheManualLists) {
    QFile file(TESSALY_TEST_MANUAL_PAGES "/shortcuts.html");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString page = QString::fromUtf8(file.readAll());
    chooseEverything();
    auto windows = otherWindows();
    windows["mainWindow"] = &window;
    int seen = 0;
    for (const auto& [name, shown] : windows) {
        for (const QAction* action : shown->findChildren<QAction*>(QRegularExpression("Action$"))) {
            const QString keys = action->shortcut().toString(QKeySequence::PortableText);
            seen += !keys.isEmpty();
            EXPECT_TRUE(keys.isEmpty() || page.contains(keys)) << keys.toStdString() << " in " << name.toStdString();
        }
    }
    EXPECT_GE(seen, 9);
    closeOthers();
}

} // namespace
} // namespace Tessaly
