#include "Tour.h"
#include "TourSteps.h"

#include "services/AboutDialog.h"
#include "services/FeedbackDialog.h"
#include "services/HelpWindow.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"
#include "ui/filters/FilterDockWidget.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QTextBrowser>
#include <QTextCursor>
#include <QTimer>

#include <optional>

namespace Tessaly {

namespace {

/// Does something that runs a dialog, and uses it. What fails there is thrown when the dialog has ended.
template <class Dialog>
void useDialog(const std::function<void()>& action, const std::function<void(Dialog&)>& use) {
    std::optional<TourFailure> failure;
    bool used = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible()) {
            return;
        }
        timer.stop();
        used = true;
        Tour::settle();
        try {
            use(*dialog);
        } catch (const TourFailure& inDialog) {
            failure = inDialog;
            dialog->reject();
        }
    });
    timer.start(20);
    action();
    Tour::waitFor([&] { return used; }, "The dialog opens.", 5000);
    if (failure) {
        throw *failure;
    }
    Tour::settle();
}

void chooseHelp(Tour& tour, const QString& entry) {
    tour.clickMenuEntry(tour.openMenu("Help"), entry);
}

HelpWindow* manual(Tour& tour) {
    const auto windows = tour.window().findChildren<HelpWindow*>();
    Tour::expect(!windows.isEmpty(), "The manual is open.");
    return windows.last();
}

template <class T>
T* part(Tour& tour, const char* name) {
    T* found = manual(tour)->findChild<T*>(QLatin1String(name));
    Tour::expect(found != nullptr, QString("The manual has a part \"%1\".").arg(QLatin1String(name)));
    return found;
}

void chooseTab(Tour& tour, int tab) {
    QTabBar* bar = part<QTabWidget>(tour, "helpTabs")->tabBar();
    tour.clickAt(bar, bar->tabRect(tab).center());
}

QString page(Tour& tour) {
    return part<QTextBrowser>(tour, "helpBrowser")->source().fileName();
}

void openHelpMenu(Tour& tour) {
    QMenu* menu = tour.openMenu("Help");
    tour.picture("help-menu");
    QTest::keyClick(menu, Qt::Key_Escape);
    menu->hide();
}

void openManual(Tour& tour) {
    tour.clickDockTab("Filters");
    QTest::keyClick(tour.panels().filters->findChild<QAbstractButton*>(), Qt::Key_F1);
    Tour::waitFor([&] { return page(tour) == "filters.html"; }, "F1 opens the page of the dock with the focus.");
    tour.pictureOf(*manual(tour), "manual-of-a-dock");
    manual(tour)->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    chooseHelp(tour, "Manual");
    Tour::expect(page(tour) == "index.html", "The menu opens the first page.");
    tour.pictureOf(*manual(tour), "manual");
}

void useIndex(Tour& tour) {
    chooseTab(tour, 1);
    auto* index = part<QListView>(tour, "helpIndex");
    Tour::waitFor([&] { return index->model()->rowCount() > 50; }, "The index lists keywords.");
    auto* filter = part<QLineEdit>(tour, "helpIndexFilter");
    QTest::keyClicks(filter, "zoom");
    Tour::waitFor([&] { return index->model()->rowCount() == 1; }, "The filter leaves one keyword.");
    QTest::keyClick(filter, Qt::Key_Return);
    Tour::expect(page(tour) == "plot.html", "Enter opens its page.");
    tour.pictureOf(*manual(tour), "manual-index");
}

void searchManual(Tour& tour) {
    chooseTab(tour, 2);
    auto* field = part<QWidget>(tour, "helpQuery")->findChild<QLineEdit*>();
    auto* list = part<QWidget>(tour, "helpResults")->findChild<QTextBrowser*>();
    Tour::expect(field && list, "The search has a field and a list.");
    // While the index is made there is nothing to be found yet.
    Tour::waitFor(
        [&] {
            field->clear();
            QTest::keyClicks(field, "temperature");
            QTest::keyClick(field, Qt::Key_Return);
            return QTest::qWaitFor([&] { return list->toHtml().contains("stiffness.html"); }, 300);
        },
        "The search finds a word.");
    tour.pictureOf(*manual(tour), "manual-search");

    const QTextCursor result = list->document()->find("Stiffness");
    Tour::expect(!result.isNull(), "The result has the page's title.");
    tour.clickAt(list->viewport(), list->cursorRect(result).center() - QPoint(10, 0));
    Tour::expect(page(tour) == "stiffness.html", "A click on a result opens its page.");
    auto* browser = part<QTextBrowser>(tour, "helpBrowser");
    QTest::keyClick(browser, Qt::Key_End);
    Tour::expect(browser->verticalScrollBar()->value() == browser->verticalScrollBar()->maximum(),
                 "End shows the page's end.");
    tour.pictureOf(*manual(tour), "manual-limits-of-moduli");
    manual(tour)->close();
}

void showAbout(Tour& tour) {
    useDialog<AboutDialog>([&] { chooseHelp(tour, "About"); },
                           [&](AboutDialog& dialog) {
                               tour.pictureOf(dialog, "about");
                               Tour::expect(dialog.findChild<QLabel*>("aboutLegal")->text().contains("app:license-de"),
                                            "The licences can be opened.");
                               QTest::keyClick(&dialog, Qt::Key_Escape);
                           });
}

void checkForUpdates(Tour& tour) {
    tour.expectBox([&] { chooseHelp(tour, "Check for Updates..."); }, "Check for Updates",
                   "No update server is configured in this build.", "no-update-server", QMessageBox::Ok);
}

void sendFeedback(Tour& tour) {
    const QString name = tour.window().datasets().front()->displayName;
    useDialog<FeedbackDialog>(
        [&] { chooseHelp(tour, "Send Feedback..."); },
        [&](FeedbackDialog& dialog) {
            const QString report = dialog.findChild<QPlainTextEdit*>("feedbackPreview")->toPlainText();
            Tour::expect(report.contains("--- Dataset 1 ---"), "The report tells of datasets.");
            Tour::expect(!report.contains(name) && !report.contains(tour.dataFolder()),
                         "It names neither samples nor folders.");
            QTest::keyClicks(dialog.findChild<QPlainTextEdit*>("feedbackComment"), "The zoom jumped back.");
            tour.pictureOf(dialog, "feedback");
            tour.click(dialog.findChild<QPushButton*>("feedbackSendButton"));
        });
    tour.expectBox([] {}, "Feedback Failed", "No support server is configured in this build.", "feedback-failed",
                   QMessageBox::Ok);
}

void unexpectedError(Tour& tour) {
    useDialog<QMessageBox>([&] { tour.window().onUnhandledException("Unexpected Error", "vector::_M_range_check"); },
                           [&](QMessageBox& box) {
                               tour.pictureOf(box, "unexpected-error");
                               QTest::keyClick(&box, Qt::Key_Escape);
                           });
}

void resetLayout(Tour& tour) {
    tour.clickMenuEntry(tour.openMenu("View"), "Plot Statistics");
    tour.clickMenuEntry(tour.openMenu("View"), "Reset Layout");
    Tour::waitFor([&] { return tour.panels().filters->isVisible(); }, "The first layout is back.");
}

} // namespace

std::vector<TourStep> serviceSteps() {
    return {
        {"help-opened", openHelpMenu},     {"manual-opened", openManual},       {"manual-indexed", useIndex},
        {"manual-searched", searchManual}, {"about-closed", showAbout},         {"updates-checked", checkForUpdates},
        {"feedback-sent", sendFeedback},   {"error-reported", unexpectedError}, {"layout-reset", resetLayout}};
}

} // namespace Tessaly
