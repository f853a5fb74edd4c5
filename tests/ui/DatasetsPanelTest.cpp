#include "ui/datasets/DatasetsPanel.h"

#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetTreeWidget.h"
#include "widgets/DatasetDrag.h"
#include "widgets/ToolTips.h"

#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QTextDocument>

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

TEST(DatasetDragTest, RowsAndPayload) {
    EXPECT_EQ(dropTargetRow(3, false, 4), 3);
    EXPECT_EQ(dropTargetRow(3, true, 4), 4);
    EXPECT_EQ(dropTargetRow(-1, false, 4), 4);
    // Onto itself, and onto the lower half of the row above or the upper half of the row below.
    for (const int target : {1, 2, 3, 4}) {
        EXPECT_EQ(moveChangesOrder(2, target), target == 1 || target == 4);
    }
    EXPECT_EQ(datasetIdOf(std::unique_ptr<QMimeData>(datasetMimeData(12)).get()), 12);
    QMimeData other;
    other.setText("12");
    EXPECT_EQ(datasetIdOf(&other), std::nullopt);
    other.setData(DatasetMimeType, "12x");
    EXPECT_EQ(datasetIdOf(&other), std::nullopt);
}

class DatasetsPanelTest : public testing::Test {
protected:
    void SetUp() override { QSettings().clear(); }

    void make() {
        panel = std::make_unique<DatasetsPanel>();
        panel->resize(300, 400);
        panel->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(panel.get()));
    }

    // Ids differ from rows on purpose.
    static std::vector<DatasetRow> threeRows() {
        return {{7, "<b>Alpha</b> (1 events)", "/data/day1/alpha.vqd"},
                {3, "<b>a &lt; b</b> (2 events)", "/data/day1/beta.vqd"},
                {5, "<b>Gamma</b> (3 events)", "/data/day2/gamma.vqd"}};
    }

    QComboBox* mode() const { return panel->findChild<QComboBox*>("datasetModeCombo"); }
    QSpinBox* depth() const { return panel->findChild<QSpinBox*>("folderDepthSpinBox"); }
    QTreeWidgetItem* treeItem(int id) const { return panel->tree()->itemOfId(id); }

    // Sends a context menu event to a view and returns the menu that it brings up.
    static QMenu* contextMenu(QAbstractScrollArea* view, const QPoint& position) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, position, view->viewport()->mapToGlobal(position));
        QApplication::sendEvent(view->viewport(), &event);
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    }

    std::unique_ptr<DatasetsPanel> panel;
};

TEST_F(DatasetsPanelTest, ModeAndDepthComeFromTheSettingsAndGoThere) {
    for (const auto& [storedMode, storedDepth, folders, shown] :
         {std::tuple{0, 2, false, 2}, {1, 9, true, 4}, {1, 0, true, 1}, {7, 3, false, 3}}) {
        QSettings().setValue("datasetView/mode", storedMode);
        QSettings().setValue("datasetView/depth", storedDepth);
        make();
        EXPECT_EQ(panel->folderViewActive(), folders) << storedMode;
        EXPECT_EQ(depth()->isVisible(), folders) << storedMode;
        EXPECT_EQ(panel->folderDepth(), shown) << storedDepth;
    }
    mode()->setCurrentIndex(1);
    depth()->setValue(2);
    EXPECT_EQ(QSettings().value("datasetView/mode").toInt(), 1);
    EXPECT_EQ(QSettings().value("datasetView/depth").toInt(), 2);
}

TEST_F(DatasetsPanelTest, KeepsTheCurrentDatasetAndEmitsNothingByItself) {
    for (int view = 0; view < 2; ++view) {
        QSettings().setValue("datasetView/mode", view);
        make();
        QSignalSpy chosen(panel.get(), &DatasetsPanel::datasetChosen);
        panel->setRows(threeRows());
        EXPECT_EQ(panel->currentRow(), -1);
        panel->setCurrentId(3);
        EXPECT_EQ(panel->currentRow(), 1);
        auto rows = threeRows();
        std::swap(rows[1], rows[2]);
        panel->setRows(rows);
        EXPECT_EQ(panel->currentRow(), 2);
        panel->setRowText(3, "<b>renamed</b>");
        EXPECT_EQ(panel->list()->item(2)->text(), "<b>renamed</b>");
        EXPECT_TRUE(view == 0 || panel->tree()->currentItem() == treeItem(3));
        EXPECT_TRUE(view == 0 || treeItem(3)->text(0) == "<b>renamed</b>");
        rows.pop_back();
        panel->setRows(rows);
        EXPECT_EQ(panel->currentRow(), -1);
        mode()->setCurrentIndex(1 - view);
        depth()->setValue(1);
        EXPECT_EQ(chosen.count(), 0);
    }
}

TEST_F(DatasetsPanelTest, AClickChoosesByIdAndEmptySpaceChangesNothing) {
    make();
    panel->setRows(threeRows());
    QSignalSpy chosen(panel.get(), &DatasetsPanel::datasetChosen);
    auto* list = panel->list();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(1)).center());
    ASSERT_EQ(chosen.count(), 1);
    EXPECT_EQ(chosen[0][0].toInt(), 3);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->viewport()->rect().bottomLeft() + QPoint(20, -5));
    EXPECT_EQ(panel->currentRow(), 1);
    QTest::keyClick(list, Qt::Key_Down);
    ASSERT_EQ(chosen.count(), 2);
    EXPECT_EQ(chosen[1][0].toInt(), 5);

    mode()->setCurrentIndex(1);
    EXPECT_EQ(panel->tree()->currentItem(), treeItem(5));
    auto* tree = panel->tree();
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(treeItem(7)).center());
    ASSERT_EQ(chosen.count(), 3);
    EXPECT_EQ(chosen[2][0].toInt(), 7);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(treeItem(7)->parent()).center());
    EXPECT_EQ(chosen.count(), 3);
}

TEST_F(DatasetsPanelTest, TheMarkStaysOnTheActiveDataset) {
    make();
    panel->setRows(threeRows());
    panel->setCurrentId(3);
    auto* list = panel->list();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::ControlModifier,
                      list->visualItemRect(list->item(1)).center());
    EXPECT_TRUE(list->item(1)->isSelected());
    mode()->setCurrentIndex(1);
    auto* tree = panel->tree();
    QSignalSpy chosen(panel.get(), &DatasetsPanel::datasetChosen);
    const QRect row = tree->visualItemRect(treeItem(3));
    const struct {
        const char* where;
        QPoint position;
        Qt::KeyboardModifiers keys;
    } clicks[] = {{"folder", tree->visualItemRect(treeItem(3)->parent()).center(), {}},
                  {"top folder", tree->visualItemRect(tree->topLevelItem(0)).center(), Qt::ControlModifier},
                  {"empty space", tree->viewport()->rect().bottomLeft() + QPoint(30, -10), {}},
                  {"the dataset itself", row.center(), Qt::ControlModifier}};
    for (const auto& click : clicks) {
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, click.keys, click.position);
        EXPECT_EQ(tree->selectedItems(), QList{treeItem(3)}) << click.where;
        EXPECT_FALSE(chosen.count() > 0 && chosen.last() != QVariantList{3}) << click.where;
    }
    // One tone from the left edge, under the branch, to the right one.
    const QImage picture = tree->viewport()->grab().toImage();
    EXPECT_EQ(picture.pixelColor(2, row.top() + 1), picture.pixelColor(row.right() - 2, row.top() + 1));
    EXPECT_NE(picture.pixelColor(2, row.top() + 1), picture.pixelColor(2, row.bottom() + 3));
    // The keys go on from the folder that was clicked.
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, clicks[0].position);
    QTest::keyClick(tree, Qt::Key_Down);
    EXPECT_EQ(tree->selectedItems(), QList{treeItem(7)});
}

TEST_F(DatasetsPanelTest, ToolTipsTellAllAndTakeNamesForText) {
    make();
    panel->setRows({{1, "<b>a &lt;b&gt;</b> (2 events)", "/data/<i>x</i>&amp;/a.vqd"}});
    mode()->setCurrentIndex(1);
    for (const QString& tip : {panel->list()->item(0)->toolTip(), treeItem(1)->toolTip(0)}) {
        EXPECT_TRUE(Qt::mightBeRichText(tip));
        QTextDocument shown;
        shown.setHtml(tip);
        EXPECT_EQ(shown.toPlainText(), "a <b> (2 events)\n/data/<i>x</i>&amp;/a.vqd");
    }
    EXPECT_EQ(plainToolTip("a < b & c"), "a < b & c");
    QTextDocument shown;
    shown.setHtml(plainToolTip("<b>x</b>\n&lt;"));
    EXPECT_EQ(shown.toPlainText(), "<b>x</b>\n&lt;");
}

TEST_F(DatasetsPanelTest, SaysHowToGetDatasets) {
    make();
    for (int view = 0; view < 2; ++view) {
        mode()->setCurrentIndex(view);
        const QWidget* shown = view == 0 ? static_cast<QWidget*>(panel->list()) : panel->tree();
        const auto* hint = shown->findChild<QLabel*>("emptyHint");
        panel->setRows({});
        EXPECT_TRUE(hint->isVisible() && hint->text().contains("File > Open"));
        panel->resize(300 + view, 410);
        EXPECT_EQ(hint->size(), hint->parentWidget()->size());
        panel->setRows(threeRows());
        EXPECT_FALSE(hint->isVisible());
    }
}

TEST_F(DatasetsPanelTest, ShowsFoldersUpToTheDepth) {
    make();
    panel->setRows(threeRows());
    mode()->setCurrentIndex(1);
    ASSERT_EQ(panel->tree()->topLevelItemCount(), 1);
    const QTreeWidgetItem* data = panel->tree()->topLevelItem(0);
    EXPECT_EQ(data->text(0), "data");
    EXPECT_FALSE(data->flags() & (Qt::ItemIsSelectable | Qt::ItemIsDragEnabled));
    EXPECT_EQ(treeItem(3)->parent()->text(0), "day1");
    depth()->setValue(1);
    EXPECT_EQ(panel->tree()->topLevelItemCount(), 2);
    panel->setRows({{1, "x", "/a&b/x.vqd"}});
    EXPECT_EQ(panel->tree()->topLevelItem(0)->text(0), "a&amp;b");
}

TEST_F(DatasetsPanelTest, ContextMenus) {
    make();
    panel->setRows(threeRows());
    panel->setCurrentId(7);
    QSignalSpy chosen(panel.get(), &DatasetsPanel::datasetChosen);
    QSignalSpy duplicate(panel.get(), &DatasetsPanel::duplicateRequested);
    QSignalSpy remove(panel.get(), &DatasetsPanel::removeRequested);
    auto* list = panel->list();
    QMenu* menu = contextMenu(list, list->visualItemRect(list->item(0)).center());
    ASSERT_TRUE(menu);
    QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Return);
    EXPECT_EQ(duplicate.count(), 0) << "a dialog must not run while the menu is at work";
    QApplication::processEvents();
    EXPECT_EQ(duplicate.value(0), QVariantList({7}));
    EXPECT_EQ(chosen.count(), 0);
    // Another dataset becomes current while the menu is open, or the dataset is removed.
    menu = contextMenu(list, list->visualItemRect(list->item(0)).center());
    panel->setCurrentId(3);
    menu->actions()[0]->trigger();
    QApplication::processEvents();
    EXPECT_EQ(duplicate.value(1), QVariantList({7}));
    ASSERT_EQ(chosen.count(), 1);
    EXPECT_EQ(chosen.takeFirst()[0].toInt(), 7);
    panel->setRows({threeRows()[1], threeRows()[2]});
    menu->actions()[1]->trigger();
    QApplication::processEvents();
    EXPECT_EQ(remove.count() + chosen.count(), 0);
    menu->close();
    panel->setRows(threeRows());
    panel->setCurrentId(7);
    EXPECT_FALSE(contextMenu(list, list->viewport()->rect().bottomLeft() + QPoint(20, -5)));

    mode()->setCurrentIndex(1);
    auto* tree = panel->tree();
    EXPECT_FALSE(contextMenu(tree, tree->visualItemRect(tree->topLevelItem(0)).center()));
    menu = contextMenu(tree, tree->visualItemRect(treeItem(5)).center());
    ASSERT_TRUE(menu);
    ASSERT_EQ(chosen.count(), 1);
    EXPECT_EQ(chosen[0][0].toInt(), 5);
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(menu->actions()[1]).center());
    QApplication::processEvents();
    EXPECT_EQ(remove.value(0), QVariantList({5}));
}

TEST_F(DatasetsPanelTest, RefusesDragsFromElsewhere) {
    make();
    panel->setRows(threeRows());
    QSignalSpy reorder(panel.get(), &DatasetsPanel::reorderRequested);
    const std::unique_ptr<QMimeData> data(datasetMimeData(7));
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile("/data/x.vqd")});
    for (int view = 0; view < 2; ++view) {
        mode()->setCurrentIndex(view);
        QWidget* viewport = view == 0 ? panel->list()->viewport() : panel->tree()->viewport();
        for (const QMimeData* mime : std::initializer_list<const QMimeData*>{data.get(), &files}) {
            QDragMoveEvent move(QPoint(10, 60), Qt::CopyAction, mime, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(viewport, &move);
            QDropEvent drop(QPointF(10, 60), Qt::CopyAction, mime, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(viewport, &drop);
            EXPECT_FALSE(move.isAccepted() || drop.isAccepted());
        }
        // File drags pass on to the window.
        QDragEnterEvent enter(QPoint(10, 60), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(viewport, &enter);
        EXPECT_FALSE(enter.isAccepted());
    }
    QApplication::processEvents();
    EXPECT_EQ(reorder.count(), 0);
    EXPECT_EQ(panel->list()->count(), 3);
}

TEST_F(DatasetsPanelTest, ATreeDropBecomesRows) {
    make();
    panel->setRows(threeRows());
    QSignalSpy reorder(panel.get(), &DatasetsPanel::reorderRequested);
    emit panel->tree()->internalReorderRequested(7, 5, true);
    emit panel->tree()->internalReorderRequested(5, 3, false);
    emit panel->tree()->internalReorderRequested(5, 99, false);
    emit panel->list()->internalReorderRequested(2, 0);
    ASSERT_EQ(reorder.count(), 3);
    EXPECT_EQ(reorder[0], QVariantList({7, 3}));
    EXPECT_EQ(reorder[1], QVariantList({5, 1}));
    EXPECT_EQ(reorder[2], QVariantList({5, 0}));
}

// A drag can't be started without a window system; these take every drag for their own.
struct OwnDragList : DatasetListWidget {
    bool isOwnDrag(const QDropEvent* event) const override { return event->mimeData()->hasFormat(DatasetMimeType); }
};
struct OwnDragTree : DatasetTreeWidget {
    bool isOwnDrag(const QDropEvent* event) const override { return event->mimeData()->hasFormat(DatasetMimeType); }
};

/// Whether the move and the drop were accepted.
std::pair<bool, bool> dragTo(QAbstractScrollArea& view, int id, const QPoint& position) {
    const std::unique_ptr<QMimeData> data(datasetMimeData(id));
    QDragEnterEvent enter(position, Qt::CopyAction | Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view.viewport(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDragMoveEvent move(position, Qt::CopyAction | Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view.viewport(), &move);
    QDropEvent drop(position, Qt::CopyAction | Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view.viewport(), &drop);
    EXPECT_TRUE(!drop.isAccepted() || drop.dropAction() == Qt::CopyAction);
    return {move.isAccepted(), drop.isAccepted()};
}

TEST(DatasetListWidgetTest, ADropAsksForANewOrder) {
    OwnDragList list;
    for (const int id : {7, 3, 5}) {
        auto* item = new QListWidgetItem(QString::number(id), &list);
        item->setData(Qt::UserRole, id);
    }
    list.resize(200, 200);
    list.show();
    QSignalSpy reorder(&list, &DatasetListWidget::internalReorderRequested);
    const auto at = [&](int row, int offset) {
        return list.visualItemRect(list.item(row)).center() + QPoint(0, offset);
    };
    const struct {
        int id;
        QPoint position;
        QVariantList move; ///< empty: nothing moves
    } cases[] = {{5, at(0, -5), {2, 0}}, {7, at(1, 5), {0, 2}}, {7, QPoint(20, 180), {0, 3}}, {3, at(0, 5), {}},
                 {3, at(2, -5), {}},     {3, at(1, 5), {}},     {3, at(2, 5), {1, 3}},        {99, at(0, 0), {}}};
    for (const auto& c : cases) {
        reorder.clear();
        EXPECT_EQ(dragTo(list, c.id, c.position).second, !c.move.isEmpty());
        EXPECT_EQ(reorder.count(), 0); // not from within the drop
        QApplication::processEvents();
        EXPECT_EQ(reorder.value(0), c.move) << c.id;
        EXPECT_EQ(list.count(), 3); // the list leaves the moving to others
    }
}

TEST(DatasetTreeWidgetTest, ADropOnADatasetAsksForANewOrder) {
    OwnDragTree tree;
    auto* folder = new QTreeWidgetItem(&tree, {"folder"});
    for (const int id : {0, 3, 5}) {
        auto* item = new QTreeWidgetItem(folder, {QString::number(id)});
        item->setData(0, Qt::UserRole, id);
    }
    tree.expandAll();
    tree.resize(200, 200);
    tree.show();
    QSignalSpy reorder(&tree, &DatasetTreeWidget::internalReorderRequested);
    const auto at = [&](QTreeWidgetItem* item, int offset) {
        return tree.visualItemRect(item).center() + QPoint(0, offset);
    };
    EXPECT_TRUE(dragTo(tree, 0, at(tree.itemOfId(5), 5)).first);
    EXPECT_EQ(reorder.count(), 0);
    QApplication::processEvents();
    EXPECT_TRUE(dragTo(tree, 5, at(tree.itemOfId(0), -5)).second);
    QApplication::processEvents();
    ASSERT_EQ(reorder.count(), 2);
    EXPECT_EQ(reorder[0], QVariantList({0, 5, true}));
    EXPECT_EQ(reorder[1], QVariantList({5, 0, false}));
    for (const QPoint& refused : {at(folder, 0), at(tree.itemOfId(3), 5), QPoint(20, 180)}) {
        EXPECT_EQ(dragTo(tree, 3, refused), std::pair(false, false));
    }
    QApplication::processEvents();
    EXPECT_EQ(reorder.count(), 2);
}

} // namespace
} // namespace Tessaly
