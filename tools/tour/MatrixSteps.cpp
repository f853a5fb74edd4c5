#include "Tour.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "plot/ScatterPlot.h"
#include "session/Session.h"
#include "tools/matrix/FilterGroupsMatrixWindow.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"

#include <QAction>
#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>

#include <algorithm>

namespace Tessaly {

namespace {

FilterGroupsMatrixWindow& matrix(Tour& tour) {
    const auto& open = tour.window().toolWindows().filterGroupsMatrices();
    Tour::expect(!open.empty(), "A matrix window is open.");
    return *open.back();
}

QTreeWidget* table(Tour& tour) {
    return matrix(tour).findChild<QTreeWidget*>("matrixTree");
}

QTreeWidgetItem* itemOf(Tour& tour, int datasetId) {
    for (QTreeWidgetItemIterator it(table(tour)); *it; ++it) {
        const QVariant id = (*it)->data(0, Qt::UserRole);
        if (id.isValid() && id.toInt() == datasetId) {
            return *it;
        }
    }
    Tour::expect(false, "The matrix has a row for every dataset.");
    return nullptr;
}

QCheckBox* boxOf(Tour& tour, int datasetId, int column) {
    return table(tour)->itemWidget(itemOf(tour, datasetId), column)->findChild<QCheckBox*>();
}

std::size_t plotted(Tour& tour) {
    return tour.panels().plot->xData().size();
}

/// Every box shows what the session holds, and the dock's count what is plotted.
void expectInStep(Tour& tour) {
    const Session& session = tour.window().session();
    for (const auto& dataset : session.datasets()) {
        int column = 0;
        for (const auto& group : session.filterGroups()) {
            Tour::expect(boxOf(tour, dataset->id, ++column)->isChecked() ==
                             session.isGroupEnabled(dataset.get(), group->id),
                         "A box is ticked if the group is on for the dataset.");
        }
    }
    Tour::expect(tour.find<QLabel>("eventCountLabel")->text().startsWith(QString::number(plotted(tour)) + " "),
                 "The filter dock counts the events that are plotted.");
}

void addGroup(Tour& tour, const char* name, const char* feature, double minimum, double maximum) {
    const int group = tour.window().addFilterGroup(name);
    FilterRule rule;
    rule.featureName = feature;
    rule.minValue = minimum;
    rule.maxValue = maximum;
    tour.window().addRuleToGroup(group, rule);
}

void open(Tour& tour) {
    tour.click(tour.find<QCheckBox>("filteringEnabledCheckBox"));
    // Groups are made in the dock, which has its own steps.
    addGroup(tour, "Single cells", "area_um", 40.0, 70.0);
    addGroup(tour, "Stiff & round <0.05>", "deform", 0.0, 0.05);
    Tour::settle();
    tour.clickMenuEntry(tour.openMenu("Tool Windows"), "Filter Groups Matrix...");
    Tour::expect(table(tour)->columnCount() == 3, "There is a column for every group.");
    expectInStep(tour);
    tour.pictureOf(matrix(tour), "matrix");
}

void switchSome(Tour& tour) {
    const Session& session = tour.window().session();
    const int active = session.activeId();
    const std::size_t all = plotted(tour);
    for (const auto& dataset : session.datasets()) {
        if (dataset->id != active) {
            tour.click(boxOf(tour, dataset->id, 1));
            Tour::expect(plotted(tour) == all, "Another dataset's box leaves this plot alone.");
            break;
        }
    }
    tour.click(boxOf(tour, active, 1));
    Tour::expect(plotted(tour) > 0 && plotted(tour) < all, "The group's rule is applied at once.");
    for (const double area : tour.panels().plot->xData()) {
        Tour::expect(area >= 40.0 && area <= 70.0, "Only events within the group's range are plotted.");
    }
    expectInStep(tour);
    tour.pictureOf(matrix(tour), "matrix-some");
}

void switchColumn(Tour& tour) {
    const std::size_t before = plotted(tour);
    QHeaderView* header = table(tour)->header();
    const auto clickHeader = [&](int column) {
        const int x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
        tour.clickAt(header->viewport(), QPoint(x, header->height() / 2));
        expectInStep(tour);
    };
    const auto ticked = [&](int column) {
        const auto& datasets = tour.window().datasets();
        return std::ranges::count_if(datasets,
                                     [&](const auto& entry) { return boxOf(tour, entry->id, column)->isChecked(); });
    };
    const auto datasets = std::ssize(tour.window().datasets());
    clickHeader(2);
    Tour::expect(ticked(2) == datasets && plotted(tour) < before, "A group's name switches it on for all datasets.");
    tour.pictureOf(matrix(tour), "matrix-column");
    clickHeader(2);
    Tour::expect(ticked(2) == 0 && plotted(tour) == before, "Another click switches it off for all.");
    clickHeader(1);
    Tour::expect(ticked(1) == datasets && plotted(tour) == before, "A group that is on for some goes on for all.");
}

void switchRow(Tour& tour) {
    const int active = tour.window().activeDatasetId();
    const std::size_t before = plotted(tour);
    QTreeWidget* tree = table(tour);
    const auto clickName = [&] {
        tour.clickRow(tree, tree->visualRect(tree->indexFromItem(itemOf(tour, active), 0)));
        expectInStep(tour);
    };
    clickName();
    Tour::expect(boxOf(tour, active, 2)->isChecked() && plotted(tour) < before,
                 "A dataset's name switches all groups on for it.");
    tour.pictureOf(matrix(tour), "matrix-row");
    clickName();
    Tour::expect(!boxOf(tour, active, 1)->isChecked() && plotted(tour) > before, "Another click switches all off.");
}

void closeMatrix(Tour& tour) {
    matrix(tour).close();
    Tour::settle();
    Tour::expect(tour.window().toolWindows().filterGroupsMatrices().empty(), "The window is gone when it is closed.");
    while (!tour.window().filterGroups().empty()) {
        tour.window().removeFilterGroup(tour.window().filterGroups().back()->id);
    }
}

} // namespace

std::vector<TourStep> matrixSteps() {
    return {{"matrix-opened", open},
            {"matrix-switched", switchSome},
            {"matrix-whole-column", switchColumn},
            {"matrix-whole-dataset", switchRow},
            {"matrix-closed", closeMatrix}};
}

} // namespace Tessaly
