#include "Tour.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "plot/ScatterPlot.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/filters/FilterGroupWidget.h"
#include "ui/filters/RuleRow.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>

namespace Tessaly {

namespace {

constexpr int LinearRow = 0;
constexpr int LogRow = 1;
constexpr int PseudoLogRow = 2;

/// A part of one of the rows below a widget; rows that are on their way out don't count.
template <typename T>
T* partOfRow(const QWidget* rows, int index, const char* name) {
    QList<RuleRow*> shown = rows->findChildren<RuleRow*>();
    shown.removeIf([](const RuleRow* row) { return row->isHidden(); });
    Tour::expect(index < shown.size(), QStringLiteral("There is a row %1.").arg(index + 1));
    auto* part = shown[index]->findChild<T*>(QLatin1String(name));
    Tour::expect(part != nullptr, QStringLiteral("Row %1 has a part \"%2\".").arg(index + 1).arg(QLatin1String(name)));
    return part;
}

template <typename T>
T* partOfRule(Tour& tour, int index, const char* name) {
    return partOfRow<T>(tour.find<QWidget>("ruleRows"), index, name);
}

const std::vector<FilterRule>& rules(Tour& tour) {
    return tour.window().session().active()->filter.rules();
}

std::size_t shownCount(Tour& tour) {
    return tour.panels().plot->xData().size();
}

void showRow(Tour& tour, int row) {
    DatasetListWidget* list = tour.panels().datasets->list();
    tour.clickRow(list, list->visualItemRect(list->item(row)));
}

QPoint place(Tour& tour, double x, double y) {
    return tour.panels().plot->toCanvas({x, y}).toPoint();
}

QPoint cornerPlace(Tour& tour, std::size_t corner) {
    const auto& [x, y] = rules(tour).back().polygonVertices.at(corner);
    return place(tour, x, y);
}

void clickPlot(Tour& tour, double x, double y) {
    tour.clickAt(tour.panels().plot->canvas(), place(tour, x, y));
}

void pressEscape(Tour& tour) {
    QTest::keyClick(tour.panels().plot->canvas(), Qt::Key_Escape);
    Tour::settle();
}

void deleteGroups(Tour& tour) {
    while (!tour.window().filterGroups().empty()) {
        const std::size_t before = tour.window().filterGroups().size();
        tour.click(tour.find<QToolButton>("deleteGroupButton"));
        Tour::expect(tour.window().filterGroups().size() + 1 == before, "A click deletes the group.");
    }
}

// The way from an empty filter on area against deformation.
void typeRange(Tour& tour) {
    showRow(tour, 0);
    tour.chooseFeature("xFeatureCombo", "area_um");
    tour.chooseFeature("yFeatureCombo", "deform");
    tour.choose(tour.find<QComboBox>("contourModeCombo"), ContourMode::Off);
    const std::size_t all = shownCount(tour);
    tour.click(tour.find<QPushButton>("addRuleButton"));
    auto* feature = partOfRule<QComboBox>(tour, 0, "ruleFeatureCombo");
    tour.choose(feature, feature->findData("area_um"));
    Tour::expect(shownCount(tour) == all, "A new rule lets everything through.");
    tour.typeInto(partOfRule<QWidget>(tour, 0, "minimumSpinBox"), "30");
    Tour::expect(rules(tour)[0].minValue == 30.0, "The number typed is the rule's bound.");
    Tour::expect(shownCount(tour) < all, "The plot follows the bound.");
}

void beginPolygonAndCancel(Tour& tour) {
    tour.click(tour.find<QPushButton>("addPolygonButton"));
    clickPlot(tour, 40, 0.02);
    clickPlot(tour, 90, 0.03);
    clickPlot(tour, 80, 0.09);
    Tour::expect(tour.panels().plot->isDrawing(), "A polygon is being drawn.");
    tour.picture("polygon-begun");
    pressEscape(tour);
    Tour::expect(!tour.panels().plot->isDrawing() && !tour.find<QPushButton>("addPolygonButton")->isChecked(),
                 "Escape cancels the drawing.");
    Tour::expect(rules(tour).size() == 1, "Nothing of it is left.");
}

void drawPolygon(Tour& tour) {
    const std::size_t before = shownCount(tour);
    tour.click(tour.find<QPushButton>("addPolygonButton"));
    clickPlot(tour, 35, 0.002);
    clickPlot(tour, 75, 0.002);
    clickPlot(tour, 75, 0.08);
    clickPlot(tour, 35, 0.08);
    QTest::mouseDClick(tour.panels().plot->canvas(), Qt::LeftButton, {}, place(tour, 35, 0.08));
    Tour::settle();
    Tour::expect(rules(tour).size() == 2 && rules(tour)[1].polygonVertices.size() == 4, "A double click closes it.");
    Tour::expect(shownCount(tour) < before, "The events outside of it are gone.");
}

void dragCorner(Tour& tour) {
    tour.click(partOfRule<QPushButton>(tour, 1, "editPolygonButton"));
    Tour::expect(tour.panels().plot->isEditing(), "The polygon can be edited on its axes.");
    const std::size_t before = shownCount(tour);
    QWidget* canvas = tour.panels().plot->canvas();
    const QPoint end = place(tour, 60, 0.06);
    tour.dragTo(canvas, cornerPlace(tour, 2), end);
    Tour::expect(shownCount(tour) == before, "The plot waits for the end of the drag.");
    tour.picture("corner-dragged");
    tour.release(canvas, end);
    Tour::expect(shownCount(tour) < before, "A smaller polygon lets fewer events pass.");
}

void addCorner(Tour& tour) {
    QWidget* canvas = tour.panels().plot->canvas();
    const QPoint middle = (cornerPlace(tour, 0) + cornerPlace(tour, 1)) / 2;
    tour.dragTo(canvas, middle, middle + QPoint(0, 15));
    tour.release(canvas, middle + QPoint(0, 15));
    Tour::expect(rules(tour)[1].polygonVertices.size() == 5, "A click on an edge adds a vertex.");
    Tour::expect(partOfRule<QLabel>(tour, 1, "polygonCountLabel")->text() == "(5 pts)", "The row counts it.");
}

void removeCorner(Tour& tour) {
    QTest::mouseClick(tour.panels().plot->canvas(), Qt::RightButton, {}, cornerPlace(tour, 1));
    Tour::settle();
    Tour::expect(rules(tour)[1].polygonVertices.size() == 4, "A right click removes a vertex.");
    pressEscape(tour);
    Tour::expect(!tour.panels().plot->isEditing() &&
                     !partOfRule<QPushButton>(tour, 1, "editPolygonButton")->isChecked(),
                 "Escape ends the edit.");
}

void editOnOtherScales(Tour& tour) {
    auto* scale = tour.find<QComboBox>("xScaleCombo");
    for (const int row : {LogRow, PseudoLogRow}) {
        tour.choose(scale, row);
        tour.click(partOfRule<QPushButton>(tour, 1, "editPolygonButton"));
        const auto before = rules(tour)[1].polygonVertices;
        QWidget* canvas = tour.panels().plot->canvas();
        const QPoint end = cornerPlace(tour, 1) + QPoint(10, 0);
        tour.dragTo(canvas, cornerPlace(tour, 1), end);
        tour.release(canvas, end);
        const FilterRule& rule = rules(tour)[1];
        Tour::expect(rule.polygonVertices[1].first > before[1].first && rule.polygonVertices[0] == before[0],
                     "One vertex has moved to the right.");
        Tour::expect(rule.scaleXMode == LinearRow, "The edges stay straight where they were drawn.");
        tour.picture(row == LogRow ? "edited-on-log-axis" : "edited-on-pseudo-log-axis");
        pressEscape(tour);
    }
    tour.choose(scale, LinearRow);
}

void refuseOtherAxes(Tour& tour) {
    tour.chooseFeature("yFeatureCombo", "bright_avg");
    auto* edit = partOfRule<QPushButton>(tour, 1, "editPolygonButton");
    tour.click(edit);
    Tour::expect(!edit->isChecked() && !tour.panels().plot->isEditing(),
                 "A polygon can't be edited on axes that aren't its own.");
}

void carryToAll(Tour& tour) {
    tour.chooseFeature("yFeatureCombo", "deform");
    tour.click(partOfRule<QPushButton>(tour, 1, "applyRuleToAllButton"));
    for (const auto& dataset : tour.window().datasets()) {
        Tour::expect(dataset->filter.ruleCount() > 0 && dataset->filter.rules().back() == rules(tour)[1],
                     "Every dataset has got the polygon.");
    }
}

void changeInOne(Tour& tour) {
    showRow(tour, 1);
    const int last = static_cast<int>(rules(tour).size()) - 1;
    tour.click(partOfRule<QCheckBox>(tour, last, "invertCheckBox"));
    Tour::expect(!partOfRule<QPushButton>(tour, last, "updateRuleToAllButton")->styleSheet().isEmpty(),
                 "The button lights up when the copies differ.");
}

void updateInAll(Tour& tour) {
    const int last = static_cast<int>(rules(tour).size()) - 1;
    tour.click(partOfRule<QCheckBox>(tour, last, "invertCheckBox"));
    auto* box = partOfRule<QPushButton>(tour, last, "editPolygonButton");
    tour.click(box);
    QWidget* canvas = tour.panels().plot->canvas();
    const QPoint end = cornerPlace(tour, 2) + QPoint(30, -20);
    tour.dragTo(canvas, cornerPlace(tour, 2), end);
    tour.release(canvas, end);
    pressEscape(tour);
    tour.click(partOfRule<QPushButton>(tour, last, "updateRuleToAllButton"));
    for (const auto& dataset : tour.window().datasets()) {
        Tour::expect(dataset->filter.rules().back().polygonVertices == rules(tour).back().polygonVertices,
                     "Every dataset has the polygon as it is now.");
    }
    Tour::expect(partOfRule<QPushButton>(tour, last, "updateRuleToAllButton")->styleSheet().isEmpty(),
                 "Nothing is left to update.");
}

void makeGroup(Tour& tour) {
    const std::size_t before = shownCount(tour);
    tour.click(tour.find<QPushButton>("addGroupButton"));
    tour.typeInto(tour.find<QLineEdit>("groupNameEdit"), "Large <cells> & treated");
    const FilterGroup& made = *tour.window().filterGroups().at(0);
    Tour::expect(made.name == "Large <cells> & treated", "The group has its name.");
    tour.click(tour.find<QPushButton>("addGroupRuleButton"));
    const QByteArray name = "filterGroup" + QByteArray::number(made.id);
    auto* group = tour.find<FilterGroupWidget>(name.constData());
    auto* feature = partOfRow<QComboBox>(group, 0, "ruleFeatureCombo");
    tour.choose(feature, feature->findData("area_um"));
    tour.typeInto(partOfRow<QWidget>(group, 0, "minimumSpinBox"), "50");
    Tour::expect(shownCount(tour) == before, "A group is off at first.");
    tour.click(tour.find<QCheckBox>("groupEnabledCheckBox"));
    Tour::expect(shownCount(tour) < before, "Its rules count where it is on.");
}

QMenu* openMoreMenu(Tour& tour) {
    auto* more = tour.find<QToolButton>("moreFilterActionsButton");
    // A click would wait for the menu to be closed.
    more->menu()->popup(more->mapToGlobal(more->rect().bottomLeft()));
    Tour::settle();
    return more->menu();
}

void importSoftLimits(Tour& tour) {
    const std::size_t before = rules(tour).size();
    QMenu* menu = openMoreMenu(tour);
    tour.clickMenuEntry(menu, "Import Measurement Filters");
    QMenu* kinds = menu->findChild<QMenu*>();
    Tour::waitFor([kinds] { return kinds->isVisible(); }, "The kinds of imports are offered.", 3000);
    tour.picture("import-menu");
    tour.clickMenuEntry(kinds, "For Active Dataset");
    Tour::expect(rules(tour).size() > before, "The limits of the instrument are rules now.");
}

// Answers the dialogs of an action on a file of groups.
void withFile(Tour& tour, const QString& path, const char* action) {
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, &user, [&] {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* dialog = qobject_cast<QFileDialog*>(modal)) {
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(path);
            QMetaObject::invokeMethod(dialog, "accept");
        } else if (modal && modal->objectName() == "exportGroupsDialog") {
            Tour::settle();
            tour.picture("groups-to-export");
            QTest::keyClick(modal, Qt::Key_Return);
        }
    });
    user.start(50);
    tour.clickMenuEntry(openMoreMenu(tour), QString::fromUtf8(action));
    Tour::settle();
}

void exportAndImportGroups(Tour& tour) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("gates.tsyfg");
    withFile(tour, path, "Export Filter Groups…");
    Tour::expect(tour.panels().status->text() == "Exported 1 filter group(s).", "The group is written.");
    withFile(tour, path, "Import Filter Groups…");
    Tour::expect(tour.panels().status->text() == "Imported 1 filter group(s).", "The group is read.");
    const auto& groups = tour.window().filterGroups();
    Tour::expect(groups.size() == 2 && groups[1]->name == groups[0]->name && groups[1]->rules == groups[0]->rules,
                 "It is the same as before.");
}

} // namespace

std::vector<TourStep> gateSteps() {
    return {{"groups-deleted", deleteGroups},
            {"range-typed", typeRange},
            {"polygon-cancelled", beginPolygonAndCancel},
            {"polygon-drawn", drawPolygon},
            {"corner-moved", dragCorner},
            {"corner-added", addCorner},
            {"corner-removed", removeCorner},
            {"other-scales", editOnOtherScales},
            {"edit-refused", refuseOtherAxes},
            {"carried-to-all", carryToAll},
            {"changed-in-one", changeInOne},
            {"updated-in-all", updateInAll},
            {"group-made", makeGroup},
            {"soft-limits", importSoftLimits},
            {"groups-read-again", exportAndImportGroups}};
}

} // namespace Tessaly
