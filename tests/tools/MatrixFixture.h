#pragma once

#include "session/Session.h"
#include "support/PlainHost.h"
#include "tools/matrix/FilterGroupsMatrixWindow.h"

#include <QCheckBox>
#include <QHeaderView>
#include <QTest>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Tessaly {

/// What the main window would tell about the list of datasets.
struct FolderViewHost : PlainHost {
    bool datasetFolderViewActive() const override { return folders; }
    int datasetFolderDepth() const override { return depth; }

    bool folders = false;
    int depth = 2;
};

/// A session with a matrix window over it. Counts what is told.
class MatrixFixture : public testing::Test {
protected:
    MatrixFixture() {
        QObject::connect(&session.notices(), &SessionNotices::eventsChanged, [this] { ++refreshes; });
    }

    int addDataset(const QString& name, const std::string& path = {}) {
        auto entry = session.newEntry();
        entry->displayName = name;
        entry->filePath = path;
        return session.append(std::move(entry)).id;
    }

    void open() {
        window = std::make_unique<FilterGroupsMatrixWindow>(session, host);
        tree = window->findChild<QTreeWidget*>("matrixTree");
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }

    QTreeWidgetItem* itemOf(int datasetId) const {
        for (QTreeWidgetItemIterator it(tree); *it; ++it) {
            const QVariant id = (*it)->data(0, Qt::UserRole);
            if (id.isValid() && id.toInt() == datasetId) {
                return *it;
            }
        }
        return nullptr;
    }
    QCheckBox* box(int datasetId, int column) const {
        const QWidget* cell = tree->itemWidget(itemOf(datasetId), column);
        return cell ? cell->findChild<QCheckBox*>() : nullptr;
    }
    void clickBox(int datasetId, int column) {
        QCheckBox* target = box(datasetId, column);
        QTest::mouseClick(target, Qt::LeftButton, {}, {8, target->height() / 2});
    }
    void clickName(QTreeWidgetItem* item) {
        tree->scrollToItem(item);
        const QRect name = tree->visualRect(tree->indexFromItem(item, 0));
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, name.center());
    }
    void clickHeader(int column) {
        const QHeaderView* header = tree->header();
        const int x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, {x, header->height() / 2});
    }

    /// The rows as text: a row's name behind two blanks for every folder above, then a mark for every box.
    QStringList shown() const {
        QStringList rows;
        for (QTreeWidgetItemIterator it(tree); *it; ++it) {
            QString row = (*it)->text(0);
            for (const QTreeWidgetItem* folder = (*it)->parent(); folder; folder = folder->parent()) {
                row.prepend("  ");
            }
            for (int column = 1; column < tree->columnCount(); ++column) {
                const QWidget* cell = tree->itemWidget(*it, column);
                row += !cell ? " ." : cell->findChild<QCheckBox*>()->isChecked() ? " X" : " -";
            }
            rows << row;
        }
        return rows;
    }
    QStringList headers() const {
        QStringList texts;
        for (int column = 0; column < tree->columnCount(); ++column) {
            texts << tree->headerItem()->text(column);
        }
        return texts;
    }

    Session session;
    FolderViewHost host;
    std::unique_ptr<FilterGroupsMatrixWindow> window;
    QTreeWidget* tree = nullptr;
    int refreshes = 0; ///< how often the plot would have been drawn anew
};

} // namespace Tessaly
