#include "ui/MainMenu.h"

#include "session/SessionNotices.h"
#include "ui/MainPanels.h"
#include "ui/ToolWindows.h"
#include "ui/datasets/DatasetController.h"
#include "ui/files/ExportController.h"
#include "ui/files/SessionController.h"
#include "ui/plot/ColorMapSetting.h"

#include <QActionGroup>
#include <QCoreApplication>
#include <QDockWidget>
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
};

struct Menu {
    const char* name;
    QString title;
    std::vector<Entry> entries;
};

/// The table: every menu with what it holds, from left to right and from top to bottom.
std::vector<Menu> menuTable(const MainMenuTargets& to) {
    return {
        {"fileMenu",
         tr("&File"),
         {
             {"openAction", tr("&Open..."), QKeySequence::Open, [&to = to.datasets] { to.openFile(); }},
             {},
             {"saveSessionAction", tr("&Save Session..."), Qt::CTRL | Qt::SHIFT | Qt::Key_S,
              [&to = to.sessions] { to.saveSession(); }},
             {"loadSessionAction", tr("&Load Session..."), Qt::CTRL | Qt::SHIFT | Qt::Key_O,
              [&to = to.sessions] { to.loadSession(); }},
             {},
             {"clearSessionAction", tr("&Clear Session"), {}, [&to = to.sessions] { to.clearSession(); }},
             {},
             {"exitAction", tr("E&xit"), QKeySequence::Quit, [&to = to.window] { to.close(); }},
         }},
        {"exportMenu",
         tr("&Export"),
         {
             {"exportPlotAction", tr("Export &Plot..."), QKeySequence(tr("Ctrl+E")),
              [&to = to.exports] { to.exportPlot(); }},
             {"exportDataAction", tr("Export &Data..."), QKeySequence(tr("Ctrl+Shift+E")),
              [&to = to.exports] { to.exportData(); }},
             {"exportSummaryAction",
              tr("Export Statistical &Summary..."),
              {},
              [&to = to.exports] { to.exportStatSummary(); }},
         }},
        {"viewMenu", tr("&View"), {}},
        {"toolWindowsMenu",
         tr("&Tool Windows"),
         {
             {"combinePlotAction", tr("New &Combine Plot..."), {}, [&to = to.tools] { to.openCombinePlot(); }},
             {"statisticalEvalAction",
              tr("New &Statistical Evaluation..."),
              {},
              [&to = to.tools] { to.openStatisticalEval(); }},
             {"imageGalleryAction", tr("New &Image Gallery..."), {}, [&to = to.tools] { to.openImageGallery(); }},
             {"filterGroupsMatrixAction",
              tr("Filter Groups &Matrix..."),
              {},
              [&to = to.tools] { to.openFilterGroupsMatrix(); }},
         }},
        {"settingsMenu", tr("&Settings"), {}},
    };
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
    }
    return menu;
}

void addDocks(QMenu& menu, const MainPanels& panels) {
    for (QDockWidget* dock : {panels.datasetsDock, panels.filtersDock, panels.calculationsDock, panels.metadataDock,
                              panels.statisticsDock}) {
        menu.addAction(dock->toggleViewAction());
    }
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

} // namespace

void buildMainMenu(const MainMenuTargets& targets) {
    for (const Menu& table : menuTable(targets)) {
        QMenu* menu = addMenu(targets.window, table);
        // Two menus hold what isn't a fixed line.
        if (menu->objectName() == QLatin1String("viewMenu")) {
            addDocks(*menu, targets.panels);
        } else if (menu->objectName() == QLatin1String("settingsMenu")) {
            addColorMaps(*menu, targets.colorMap, targets.news);
        }
    }
}

} // namespace Tessaly
