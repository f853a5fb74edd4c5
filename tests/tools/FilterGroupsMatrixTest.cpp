#include "MatrixFixture.h"

#include "session/filters/FilterGroups.h"

#include <QLabel>
#include <QPointer>
#include <QScrollBar>
#include <QSignalSpy>

namespace Tessaly {
namespace {

class FilterGroupsMatrixTest : public MatrixFixture {};

TEST_F(FilterGroupsMatrixTest, FillingTheTableWritesNothing) {
    const int a = addDataset("a");
    const int b = addDataset("b");
    const int live = session.addFilterGroup("live");
    const int single = session.addFilterGroup("single");
    session.setGroupEnabled(a, single, true);
    session.findById(b)->groupEnabled.erase(live); // an absent entry counts as off
    refreshes = 0;
    open();
    EXPECT_EQ(window->windowTitle(), QString::fromUtf8("Filter Groups – Datasets Matrix"));
    EXPECT_EQ(window->size(), QSize(720, 480));
    EXPECT_EQ(headers(), QStringList({"Dataset", "live", "single"}));
    EXPECT_EQ(shown(), QStringList({"a - X", "b - -"}));
    EXPECT_EQ(refreshes, 0);
    EXPECT_FALSE(session.findById(b)->groupEnabled.contains(live));
    window->refresh();
    EXPECT_EQ(refreshes, 0);
    EXPECT_FALSE(session.findById(b)->groupEnabled.contains(live));
}

TEST_F(FilterGroupsMatrixTest, OneClickInACellSwitchesOneGroupForOneDataset) {
    const int a = addDataset("a");
    const int b = addDataset("b");
    session.addFilterGroup("live");
    const int single = session.addFilterGroup("single");
    open();
    const QPointer<QCheckBox> clicked = box(b, 2);
    clickBox(b, 2);
    EXPECT_EQ(shown(), QStringList({"a - -", "b - X"}));
    EXPECT_TRUE(session.isGroupEnabled(session.findById(b), single));
    EXPECT_FALSE(session.isGroupEnabled(session.findById(a), single));
    EXPECT_EQ(refreshes, 1);
    clickBox(b, 2);
    EXPECT_EQ(shown(), QStringList({"a - -", "b - -"}));
    EXPECT_EQ(refreshes, 2);
    QApplication::processEvents();
    EXPECT_EQ(clicked.data(), box(b, 2)) << "the box that was clicked is still the one that is seen";
}

TEST_F(FilterGroupsMatrixTest, AHeaderSwitchesOnEverywhereFirstAndOffOnlyFromThere) {
    for (const char* name : {"a", "b", "c"}) {
        addDataset(name);
    }
    session.addFilterGroup("live");
    const int single = session.addFilterGroup("single");
    session.setGroupEnabled(session.datasetAt(1)->id, single, true);
    open();
    refreshes = 0;
    clickHeader(2);
    EXPECT_EQ(shown(), QStringList({"a - X", "b - X", "c - X"}));
    EXPECT_EQ(refreshes, 1);
    clickHeader(2);
    EXPECT_EQ(shown(), QStringList({"a - -", "b - -", "c - -"}));
    EXPECT_EQ(refreshes, 2);
    clickHeader(0);
    EXPECT_EQ(shown(), QStringList({"a - -", "b - -", "c - -"}));
    EXPECT_EQ(refreshes, 2) << "the names' header switches nothing";
}

TEST_F(FilterGroupsMatrixTest, ANameSwitchesAllGroupsForItsDataset) {
    const int a = addDataset("a");
    const int b = addDataset("b");
    session.addFilterGroup("live");
    const int single = session.addFilterGroup("single");
    session.setGroupEnabled(a, single, true);
    open();
    refreshes = 0;
    clickName(itemOf(a));
    EXPECT_EQ(shown(), QStringList({"a X X", "b - -"}));
    EXPECT_EQ(refreshes, 1);
    clickName(itemOf(a));
    EXPECT_EQ(shown(), QStringList({"a - -", "b - -"}));
    EXPECT_EQ(refreshes, 2);
    // Beside the box a cell does nothing.
    const QRect cell = tree->visualRect(tree->indexFromItem(itemOf(b), 2));
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, cell.topLeft() + QPoint(2, 2));
    EXPECT_EQ(refreshes, 2);
}

TEST_F(FilterGroupsMatrixTest, NothingToTickWithoutGroupsOrDatasets) {
    const int a = addDataset("a");
    open();
    EXPECT_EQ(headers(), QStringList({"Dataset"}));
    EXPECT_EQ(shown(), QStringList({"a"}));
    clickName(itemOf(a));
    clickHeader(0);
    session.remove(a);
    const int live = session.addFilterGroup("live");
    EXPECT_EQ(shown(), QStringList());
    clickHeader(1);
    EXPECT_EQ(headers(), QStringList({"Dataset", "live"}));
    // What comes later starts off.
    const int b = addDataset("b");
    EXPECT_FALSE(session.isGroupEnabled(session.findById(b), live));
    EXPECT_EQ(shown(), QStringList({"b -"}));
}

TEST_F(FilterGroupsMatrixTest, FollowsDatasetsAndGroups) {
    const int a = addDataset("a");
    const int b = addDataset("b");
    const int live = session.addFilterGroup("live");
    open();
    const QPointer<QCheckBox> kept = box(a, 1);
    const int c = addDataset("c");
    EXPECT_EQ(shown(), QStringList({"a -", "b -", "c -"}));
    session.setGroupEnabled(c, live, true);
    session.move(c, 1);
    EXPECT_EQ(shown(), QStringList({"a -", "c X", "b -"}));
    session.rename(b, "other");
    EXPECT_EQ(shown(), QStringList({"a -", "c X", "other -"}));
    session.remove(c);
    EXPECT_EQ(shown(), QStringList({"a -", "other -"}));
    EXPECT_EQ(kept.data(), box(a, 1)) << "rows that are still right stay";
    const int single = session.addFilterGroup("single");
    setGroupEnabledInAll(session, single, true);
    EXPECT_EQ(shown(), QStringList({"a - X", "other - X"}));
    renameFilterGroup(session, live, "alive");
    EXPECT_EQ(headers(), QStringList({"Dataset", "alive", "single"}));
    EXPECT_EQ(box(b, 1)->accessibleName(), "Group alive for dataset other");
    session.removeFilterGroup(live);
    EXPECT_EQ(headers(), QStringList({"Dataset", "single"}));
    EXPECT_EQ(shown(), QStringList({"a X", "other X"}));
    // The boxes still mean what stands above and beside them.
    clickBox(b, 1);
    EXPECT_FALSE(session.isGroupEnabled(session.findById(b), single));
    EXPECT_TRUE(session.isGroupEnabled(session.findById(a), single));
    session.clear();
    EXPECT_EQ(shown(), QStringList());
    EXPECT_EQ(headers(), QStringList({"Dataset"}));
}

TEST_F(FilterGroupsMatrixTest, BoxesMayGoWhileOneHasTheFocus) {
    const int live = session.addFilterGroup("live");
    const int a = addDataset("a");
    open();
    for (const bool first : {true, false}) {
        const int b = addDataset("b");
        const auto focus = [&](int column) { box(first ? a : b, column)->setFocus(Qt::TabFocusReason); };
        focus(1);
        const int single = session.addFilterGroup("single");
        EXPECT_EQ(shown(), QStringList({"a - -", "b - -"}));
        focus(2);
        session.removeFilterGroup(single);
        EXPECT_EQ(shown(), QStringList({"a -", "b -"}));
        focus(1);
        session.remove(b);
        EXPECT_EQ(shown(), QStringList({"a -"}));
    }
    box(a, 1)->setFocus(Qt::TabFocusReason);
    QTest::keyClick(box(a, 1), Qt::Key_Space);
    EXPECT_TRUE(session.isGroupEnabled(session.findById(a), live));
}

TEST_F(FilterGroupsMatrixTest, TwoWindowsShowTheSame) {
    const int a = addDataset("a");
    session.addFilterGroup("live");
    open();
    FilterGroupsMatrixWindow second(session, host);
    const auto* other = second.findChild<QTreeWidget*>("matrixTree");
    clickBox(a, 1);
    EXPECT_EQ(refreshes, 1);
    EXPECT_TRUE(other->itemWidget(other->topLevelItem(0), 1)->findChild<QCheckBox*>()->isChecked());
    const FilterGroupsMatrixWindow* closed = nullptr;
    QObject::connect(&second, &FilterGroupsMatrixWindow::windowClosed,
                     [&](FilterGroupsMatrixWindow* self) { closed = self; });
    second.show();
    second.close();
    EXPECT_EQ(closed, &second);
}

TEST_F(FilterGroupsMatrixTest, FoldersAreShownAsInTheListOfDatasets) {
    const int a = addDataset("a", "/data/control/a.vqd");
    addDataset("b", "/data/treated/b.vqd");
    addDataset("c", "/data/control/c.vqd");
    addDataset("loose");
    session.addFilterGroup("live");
    host.folders = true;
    host.depth = 1;
    open();
    EXPECT_EQ(shown(), QStringList({"control .", "  a -", "  c -", "treated .", "  b -", "loose -"}));
    QTreeWidgetItem* folder = tree->topLevelItem(0);
    EXPECT_FALSE(folder->data(0, Qt::UserRole).isValid());
    clickName(folder);
    EXPECT_EQ(refreshes, 0);
    EXPECT_TRUE(folder->isExpanded());
    clickBox(a, 1);
    EXPECT_EQ(shown(), QStringList({"control .", "  a X", "  c -", "treated .", "  b -", "loose -"}));

    addDataset("d", "/data/treated/d.vqd");
    EXPECT_EQ(shown(), QStringList({"control .", "  a X", "  c -", "treated .", "  b -", "  d -", "loose -"}));
    host.depth = 2;
    emit session.notices().folderViewChanged();
    EXPECT_EQ(shown(), QStringList({"data .", "  control .", "    a X", "    c -", "  treated .", "    b -", "    d -",
                                    "loose -"}));
    session.remove(session.datasetAt(1)->id);
    session.remove(session.findByPath("/data/treated/d.vqd")->id);
    EXPECT_EQ(shown(), QStringList({"data .", "  control .", "    a X", "    c -", "loose -"}));
    host.folders = false;
    emit session.notices().folderViewChanged();
    EXPECT_EQ(shown(), QStringList({"a X", "c -", "loose -"}));
}

TEST_F(FilterGroupsMatrixTest, TheFirstColumnFitsItsContentsUntilItIsDragged) {
    const int a = addDataset("a");
    session.addFilterGroup("live");
    open();
    const int narrow = tree->columnWidth(0);
    session.rename(a, QString(40, 'M'));
    const int wide = tree->columnWidth(0);
    EXPECT_GT(wide, narrow + 100);
    session.rename(a, "a");
    EXPECT_EQ(tree->columnWidth(0), narrow);
    // New columns and rows are no drag.
    session.addFilterGroup("another");
    session.rename(a, QString(40, 'M'));
    EXPECT_EQ(tree->columnWidth(0), wide);

    QHeaderView* header = tree->header();
    const QPoint edge(header->sectionSize(0) - 1, header->height() / 2);
    QTest::mousePress(header->viewport(), Qt::LeftButton, {}, edge);
    for (int x = edge.x(); x >= edge.x() - 60; x -= 20) {
        QMouseEvent move(QEvent::MouseMove, QPointF(x, edge.y()), header->viewport()->mapToGlobal(QPointF(x, edge.y())),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(header->viewport(), &move);
    }
    QTest::mouseRelease(header->viewport(), Qt::LeftButton, {}, edge - QPoint(60, 0));
    const int dragged = tree->columnWidth(0);
    EXPECT_EQ(dragged, wide - 60);
    session.rename(a, QString(80, 'M'));
    addDataset("b");
    session.addFilterGroup("third");
    EXPECT_EQ(tree->columnWidth(0), dragged);
    EXPECT_EQ(refreshes, 0) << "a drag of the edge is no click on the header";
}

TEST_F(FilterGroupsMatrixTest, KeysReachAndSwitchEveryBox) {
    const int a = addDataset("a", "/data/control/a.vqd");
    const int b = addDataset("b", "/data/treated/b.vqd");
    session.addFilterGroup("live");
    session.addFilterGroup("single");
    host.folders = true;
    host.depth = 1;
    open();
    box(a, 1)->setFocus();
    const auto press = [](Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    };
    press(Qt::Key_Space);
    EXPECT_EQ(shown(), QStringList({"control . .", "  a X -", "treated . .", "  b - -"}));
    press(Qt::Key_Left); // stays at the edge
    press(Qt::Key_Up);
    EXPECT_EQ(QApplication::focusWidget(), box(a, 1));
    press(Qt::Key_Right);
    EXPECT_EQ(QApplication::focusWidget(), box(a, 2));
    press(Qt::Key_Right);
    EXPECT_EQ(QApplication::focusWidget(), box(a, 2)) << "no step into the next row";
    press(Qt::Key_Down); // over the folder
    EXPECT_EQ(QApplication::focusWidget(), box(b, 2));
    refreshes = 0;
    press(Qt::Key_Space, Qt::ControlModifier);
    EXPECT_EQ(shown(), QStringList({"control . .", "  a X X", "treated . .", "  b - X"}));
    press(Qt::Key_Space, Qt::ShiftModifier);
    EXPECT_EQ(shown(), QStringList({"control . .", "  a X X", "treated . .", "  b X X"}));
    EXPECT_EQ(refreshes, 2);
}

TEST_F(FilterGroupsMatrixTest, NamesAreShownPlainOnOneLine) {
    const int a = addDataset("<b>a</b> & %1\nsecond");
    session.addFilterGroup("<i>g</i> & %2\nmore");
    open();
    EXPECT_EQ(headers(), QStringList({"Dataset", "<i>g</i> & %2 more"}));
    EXPECT_EQ(itemOf(a)->text(0), "<b>a</b> & %1 second");
    EXPECT_EQ(box(a, 1)->accessibleName(), "Group <i>g</i> & %2\nmore for dataset <b>a</b> & %1\nsecond");
    EXPECT_TRUE(itemOf(a)->toolTip(0).contains("&lt;b&gt;a&lt;/b&gt;")) << "a tip shows no markup, either";
    session.addFilterGroup(std::string(500, 'w'));
    EXPECT_LT(tree->columnWidth(2), 300) << "a long name leaves room for other groups";
    EXPECT_EQ(tree->headerItem()->toolTip(2), QString(500, 'w'));
}

TEST_F(FilterGroupsMatrixTest, NamesStayInViewInALargeTable) {
    for (int i = 0; i < 60; ++i) {
        addDataset(QStringLiteral("dataset %1").arg(i));
    }
    for (int i = 0; i < 30; ++i) {
        session.addFilterGroup("filter group");
    }
    open();
    auto* pinned = window->findChild<QTreeView*>("pinnedColumn");
    EXPECT_FALSE(pinned->isVisible());
    tree->horizontalScrollBar()->setValue(tree->horizontalScrollBar()->maximum());
    tree->verticalScrollBar()->setValue(tree->verticalScrollBar()->maximum());
    EXPECT_TRUE(pinned->isVisible());
    // The same rows at the same heights, and a click on a name does the same.
    const QModelIndex last = tree->indexFromItem(tree->topLevelItem(59), 0);
    const QRect name = pinned->visualRect(last);
    EXPECT_EQ(name.top(), tree->visualRect(last).top());
    EXPECT_EQ(name.height(), tree->visualRect(last).height());
    QTest::mouseClick(pinned->viewport(), Qt::LeftButton, {}, name.center());
    EXPECT_EQ(shown()[59].count('X'), 30);
    EXPECT_EQ(refreshes, 1);
    // What gets the focus is seen, not beneath the names.
    box(session.datasetAt(59)->id, 30)->setFocus();
    box(session.datasetAt(0)->id, 1)->setFocus();
    const QRect cell = tree->visualRect(tree->indexFromItem(tree->topLevelItem(0), 1));
    EXPECT_GE(cell.height(), tree->fontMetrics().height() + 12);
    EXPECT_TRUE(tree->viewport()->rect().contains(cell));
    EXPECT_TRUE(!pinned->isVisible() || pinned->geometry().right() < cell.left());
}

} // namespace
} // namespace Tessaly
