#include "ui/MainMenu.h"

#include "session/SessionNotices.h"
#include "ui/DockLayout.h"
#include "ui/MainPanels.h"
#include "ui/ToolWindows.h"
#include "ui/datasets/DatasetController.h"
#include "ui/files/BatchPlanController.h"
#include "ui/files/ExportController.h"
#include "ui/files/SessionController.h"
#include "ui/plot/ColorMapSetting.h"
#include "ui/services/ServicesController.h"

#include <QActionGroup>
#include <QCoreApplication>
#include <QDockWidget>
#include <QFile>
#include <QIcon>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include <functional>
#include <vector>

namespace Tessaly {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("Tessaly::MainWindow", text);
}

/// An entry of a menu; one without text is a separator.
struct Entry {
    const char* name = "";
    QString text;
    QKeySequence shortcut;
    std::function<void()> run;
    const char* icon = ""; ///< resource, of what is used daily
};

struct Menu {
    const char* name;
    QString title;
    std::vector<Entry> entries;
};

Menu fileMenu(const MainMenuTargets& to) {
    return {"fileMenu",
            tr("&File"),
            {
                {"openAction", tr("&Open..."), QKeySequence::Open, [&to = to.datasets] { to.openFile(); },
                 ":/icon-open.svg"},
                {},
                {"saveSessionAction", tr("&Save Session..."), Qt::CTRL | Qt::SHIFT | Qt::Key_S,
                 [&to = to.sessions] { to.saveSession(); }, ":/icon-session-save.svg"},
                {"loadSessionAction", tr("&Load Session..."), Qt::CTRL | Qt::SHIFT | Qt::Key_O,
                 [&to = to.sessions] { to.loadSession(); }, ":/icon-session-load.svg"},
                {},
                {"saveBatchPlanAction", tr("Save &Batch Plan..."), {}, [&to = to.batchPlans] { to.saveBatchPlan(); }},
                {},
                {"clearSessionAction", tr("&Clear Session"), {}, [&to = to.sessions] { to.clearSession(); }},
                {},
                {"exitAction", tr("E&xit"), QKeySequence::Quit, [&to = to.window] { to.close(); }},
            }};
}

Menu exportMenu(const MainMenuTargets& to) {
    return {"exportMenu",
            tr("&Export"),
            {
                {"exportPlotAction", tr("Export &Plot..."), QKeySequence(tr("Ctrl+E")),
                 [&to = to.exports] { to.exportPlot(); }, ":/icon-export-plot.svg"},
                {"exportDataAction", tr("Export &Data..."), QKeySequence(tr("Ctrl+Shift+E")),
                 [&to = to.exports] { to.exportData(); }, ":/icon-export-data.svg"},
                {"exportSummaryAction",
                 tr("Export Statistical &Summary..."),
                 {},
                 [&to = to.exports] { to.exportStatSummary(); },
                 ":/icon-export-summary.svg"},
            }};
}

Menu toolWindowsMenu(const MainMenuTargets& to) {
    return {"toolWindowsMenu",
            tr("&Tool Windows"),
            {
                {"combinePlotAction",
                 tr("New &Combine Plot..."),
                 {},
                 [&to = to.tools] { to.openCombinePlot(); },
                 ":/icon-combine.svg"},
                {"statisticalEvalAction",
                 tr("New &Statistical Evaluation..."),
                 {},
                 [&to = to.tools] { to.openStatisticalEval(); },
                 ":/icon-statistics.svg"},
                {"imageGalleryAction",
                 tr("New &Image Gallery..."),
                 {},
                 [&to = to.tools] { to.openImageGallery(); },
                 ":/icon-gallery.svg"},
                {"filterGroupsMatrixAction",
                 tr("Filter Groups &Matrix..."),
                 {},
                 [&to = to.tools] { to.openFilterGroupsMatrix(); },
                 ":/icon-matrix.svg"},
            }};
}

Menu helpMenu(const MainMenuTargets& to) {
    return {
        "helpMenu",
        tr("&Help"),
        {
            {"manualAction", tr("&Manual"), QKeySequence::HelpContents, [&to = to.services] { to.openManual(); },
             ":/icon-manual.svg"},
            {},
            {"checkUpdatesAction", tr("Check for &Updates..."), {}, [&to = to.services] { to.checkForUpdates(false); }},
            {"sendFeedbackAction", tr("Send &Feedback..."), {}, [&to = to.services] { to.sendFeedback(); }},
            {},
            {"aboutAction", tr("&About"), {}, [&to = to.services] { to.showAbout(); }},
        }};
}

/// Every menu with what it holds, from left to right and from top to bottom.
std::vector<Menu> menuTable(const MainMenuTargets& to) {
    return {fileMenu(to),
            exportMenu(to),
            {"viewMenu", tr("&View"), {}},
            toolWindowsMenu(to),
            {"settingsMenu", tr("&Settings"), {}},
            helpMenu(to)};
}

QMenu* addMenu(QMainWindow& window, const Menu& table) {
    QMenu* menu = window.menuBar()->addMenu(table.title);
    menu->setObjectName(QLatin1String(table.name));
    for (const Entry& entry : table.entries) {
        if (entry.text.isEmpty()) {
            menu->addSeparator();
            continue;
        }
        QAction* action = menu->addAction(entry.text, menu, entry.run);
        action->setObjectName(QLatin1String(entry.name));
        action->setShortcut(entry.shortcut);
        if (QFile::exists(QLatin1String(entry.icon))) {
            action->setIcon(QIcon(QLatin1String(entry.icon)));
        }
    }
    return menu;
}

void addDocks(QMenu& menu, const MainPanels& panels, DockLayout& layout) {
    for (QDockWidget* dock : {panels.datasetsDock, panels.filtersDock, panels.calculationsDock, panels.metadataDock,
                              panels.statisticsDock}) {
        menu.addAction(dock->toggleViewAction());
    }
    menu.addSeparator();
    QAction* reset = menu.addAction(tr("&Reset Layout"), &menu, [&layout] { layout.reset(); });
    reset->setObjectName(QStringLiteral("resetLayoutAction"));
}

void addColorMaps(QMenu& settingsMenu, ColorMapSetting& setting, const SessionNotices& news) {
    QMenu* menu = settingsMenu.addMenu(tr("Color &Map"));
    menu->setObjectName(QStringLiteral("colorMapMenu"));
    auto* group = new QActionGroup(menu);
    const QStringList names = ColorMapSetting::names();
    for (int i = 0; i < static_cast<int>(names.size()); ++i) {
        QAction* action = menu->addAction(names[i]);
        action->setCheckable(true);
        action->setChecked(i == setting.index());
        action->setObjectName(QStringLiteral("colorMapAction%1").arg(i));
        action->setData(i);
        group->addAction(action);
    }
    QObject::connect(group, &QActionGroup::triggered, menu,
                     [&setting](const QAction* action) { setting.choose(action->data().toInt()); });
    // A session may bring another one.
    QObject::connect(&news, &SessionNotices::colorMapChanged, menu,
                     [menu](int index) { menu->actions().at(index)->setChecked(true); });
}

void addStartupCheck(QMenu& settingsMenu) {
    settingsMenu.addSeparator();
    QAction* action = settingsMenu.addAction(tr("Check for Updates on Startup"));
    action->setObjectName(QStringLiteral("checkOnStartupAction"));
    action->setCheckable(true);
    action->setChecked(ServicesController::checksOnStartup());
    QObject::connect(action, &QAction::toggled, &settingsMenu, &ServicesController::setChecksOnStartup);
}

} // namespace

void buildMainMenu(const MainMenuTargets& targets) {
    for (const Menu& table : menuTable(targets)) {
        QMenu* menu = addMenu(targets.window, table);
        // Two menus hold what isn't a fixed line.
        if (menu->objectName() == QLatin1String("viewMenu")) {
            addDocks(*menu, targets.panels, targets.layout);
        } else if (menu->objectName() == QLatin1String("settingsMenu")) {
            addColorMaps(*menu, targets.colorMap, targets.news);
            addStartupCheck(*menu);
        }
    }
}

} // namespace Tessaly
