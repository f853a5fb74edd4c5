#include "widgets/KeepOnTop.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

TEST(KeepOnTop, StandsInTheViewMenuAndKeepsThePlace) {
    for (const bool hasMenu : {false, true}) {
        QMainWindow window;
        window.menuBar()->addMenu("&File");
        QMenu* own = hasMenu ? window.menuBar()->addMenu("Vi&ew") : nullptr;
        QAction* action = installKeepOnTop(window);
        ASSERT_EQ(window.menuBar()->actions().size(), 2);
        QMenu* menu = window.menuBar()->actions()[1]->menu();
        EXPECT_TRUE(hasMenu ? menu == own : menu->title() == "&View");
        EXPECT_EQ(menu->actions(), QList<QAction*>{action});
        EXPECT_EQ(action->text(), "Keep on &Top");
        EXPECT_EQ(action->toolTip(), "Keep this window above the main window.");
        EXPECT_TRUE(action->isCheckable());
        EXPECT_FALSE(action->isChecked());

        window.setGeometry(60, 80, 300, 200);
        window.show();
        const QRect place = window.geometry();
        for (const bool on : {true, false}) {
            action->trigger();
            EXPECT_EQ(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint), on);
            EXPECT_TRUE(window.isVisible());
            EXPECT_EQ(window.geometry(), place);
        }
    }
}

} // namespace
} // namespace Tessaly
