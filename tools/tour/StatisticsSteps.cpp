#include "Tour.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "tools/statistics/CategoryPanel.h"
#include "tools/statistics/PlotStack.h"
#include "tools/statistics/StatisticalEvalWindow.h"
#include "ui/MainWindow.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr std::size_t DonorCount = 8;

StatisticalEvalWindow& statistics(Tour& tour) {
    const auto& open = tour.window().toolWindows().statisticalEvals();
    Tour::expect(!open.empty(), "A window of statistics is open.");
    return *open.back();
}

template <typename Widget>
Widget* control(Tour& tour, const char* name) {
    auto* found = statistics(tour).findChild<Widget*>(QLatin1String(name));
    Tour::expect(found != nullptr, QStringLiteral("The window has a part \"%1\".").arg(QLatin1String(name)));
    return found;
}

CategoryPanel* panel(Tour& tour, std::size_t number) {
    return statistics(tour).categoryPanels().at(number);
}

/// Does something that brings up a dialog, and uses that.
void withDialog(const std::function<void()>& action, const std::function<void(QDialog&)>& use) {
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            timer.stop();
            use(*dialog);
        }
    });
    timer.start(20);
    action();
    Tour::expect(!timer.isActive(), "A dialog opens.");
    Tour::settle();
}

void showTab(Tour& tour, int index) {
    QTabBar* bar = control<QTabWidget>(tour, "statisticsTabs")->tabBar();
    tour.clickAt(bar, bar->tabRect(index).center());
}

void chooseIn(Tour& tour, const char* combo, int row) {
    auto* box = control<QComboBox>(tour, combo);
    box->setFocus();
    while (box->currentIndex() != row) {
        QTest::keyClick(box, box->currentIndex() < row ? Qt::Key_Down : Qt::Key_Up);
    }
    Tour::settle();
}

void tick(Tour& tour, const char* box) {
    auto* button = control<QAbstractButton>(tour, box);
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Space);
    Tour::settle();
}

void selectFeatures(Tour& tour, const std::vector<const char*>& labels) {
    auto* list = control<QListWidget>(tour, "featureList");
    Qt::KeyboardModifiers modifiers;
    for (const char* label : labels) {
        for (int row = 0; row < list->count(); ++row) {
            QListWidgetItem* item = list->item(row);
            if (item->text() == QString::fromUtf8(label)) {
                list->scrollToItem(item);
                QTest::mouseClick(list->viewport(), Qt::LeftButton, modifiers, list->visualItemRect(item).center());
                modifiers = Qt::ControlModifier;
            }
        }
    }
    Tour::expect(list->selectedItems().size() == static_cast<int>(labels.size()), "The features are selected.");
}

void run(Tour& tour, const char* button) {
    auto* start = control<QPushButton>(tour, button);
    tour.click(start);
    Tour::waitFor([start] { return start->isEnabled(); }, "The run ends.");
    Tour::settle();
}

QString cell(Tour& tour, const char* table, int row, int column) {
    const QTableWidgetItem* item = control<QTableWidget>(tour, table)->item(row, column);
    return item ? item->text() : QString();
}

/// Adds all datasets whose names begin so, by the dialog.
void fill(Tour& tour, std::size_t number, const QString& beginning) {
    auto* add = panel(tour, number)->findChild<QPushButton*>("addDatasets");
    withDialog([&] { tour.click(add); },
               [&](QDialog& dialog) {
                   auto* list = dialog.findChild<QListWidget*>();
                   for (int row = 0; row < list->count(); ++row) {
                       list->item(row)->setSelected(list->item(row)->text().startsWith(beginning));
                   }
                   QTest::mouseClick(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok),
                                     Qt::LeftButton);
               });
    Tour::expect(panel(tour, number)->entries().size() == DonorCount, "The category holds eight datasets.");
}

void rename(Tour& tour, std::size_t number, const QString& name) {
    auto* field = panel(tour, number)->findChild<QLineEdit*>("categoryName");
    field->setFocus();
    QTest::keySequence(field, QKeySequence::SelectAll);
    QTest::keyClicks(field, name);
    Tour::settle();
}

void typeLevel(Tour& tour, const char* level) {
    auto* alpha = control<QWidget>(tour, "alpha");
    alpha->setFocus();
    QTest::keySequence(alpha, QKeySequence::SelectAll);
    QTest::keyClicks(alpha, QLatin1String(level));
    QTest::keyClick(alpha, Qt::Key_Return);
}

void load(Tour& tour) {
    const std::size_t before = tour.window().datasets().size();
    tour.dropOnWindow(tour.dataFolder() + QStringLiteral("-statistics"));
    Tour::waitFor(
        [&] {
            const auto& datasets = tour.window().datasets();
            return datasets.size() == before + 3 * DonorCount && datasets.back()->featuresLoaded;
        },
        "The set for statistics is loaded.", 120000);
}

/// Every tab says what it lacks; a category alone is told before all else.
void refuse(Tour& tour) {
    const struct {
        int tab;
        const char* button;
        const char* title;
        const char* picture;
    } rows[] = {{2, "runDistribution", "Distribution Explorer", "statistics-no-distribution"},
                {1, "runRoc", "ROC Analysis", "statistics-no-roc"}};
    for (const auto& row : rows) {
        showTab(tour, row.tab);
        tour.expectBox([&] { tour.click(control<QPushButton>(tour, row.button)); }, row.title,
                       "Select at least one feature.", row.picture, QMessageBox::Ok);
    }
    tour.click(panel(tour, 1)->findChild<QPushButton*>("deleteCategory"));
    tour.expectBox([&] { tour.click(control<QPushButton>(tour, "runRoc")); }, "ROC Analysis",
                   "Need at least 2 categories.", "statistics-roc-one", QMessageBox::Ok);
    showTab(tour, 0);
    tour.expectBox([&] { tour.click(control<QPushButton>(tour, "runAnalysis")); }, "Analysis",
                   "Need at least 2 categories.", "statistics-one", QMessageBox::Ok);
    tick(tour, "addCategory");
    tour.expectBox([&] { control<QAction>(tour, "exportTable")->trigger(); }, "Export",
                   "No results to export. Run analysis first.", "statistics-no-results", QMessageBox::Ok);
}

void open(Tour& tour) {
    tour.clickMenuEntry(tour.openMenu("Tool Windows"), "New Statistical Evaluation...");
    tour.pictureOf(statistics(tour), "statistics-empty");
    refuse(tour);
    tour.expectBox([&] { tour.click(control<QPushButton>(tour, "runAnalysis")); }, "Analysis",
                   "Category \"Baseline\" has fewer than 3 datasets. Minimum is 3.", "statistics-too-few",
                   QMessageBox::Ok);
    fill(tour, 0, "Baseline");
    fill(tour, 1, "High dose");
    rename(tour, 1, "High dose");
    tour.expectBox([&] { tour.click(control<QPushButton>(tour, "runAnalysis")); }, "Analysis",
                   "Select at least one feature.", "statistics-no-feature", QMessageBox::Ok);
    tour.pictureOf(statistics(tour), "statistics-categories");
}

void compareIndependent(Tour& tour) {
    selectFeatures(tour, {"Area [µm²]", "Deformation"});
    run(tour, "runAnalysis");
    Tour::expect(cell(tour, "groupTable", 0, 5) == "ns", "The dose leaves the size alone.");
    Tour::expect(cell(tour, "groupTable", 1, 5).contains('*'), "The dose changes the deformation.");
    tour.pictureOf(statistics(tour), "statistics-independent");
}

void compareReplicates(Tour& tour) {
    tick(tour, "replicates");
    tour.expectBox([&] { tour.click(control<QPushButton>(tour, "runAnalysis")); }, "Analysis",
                   "Replicates are enabled but not all datasets have IDs assigned.", "statistics-no-ids",
                   QMessageBox::Ok);
    showTab(tour, 1);
    tour.expectBox([&] { tour.click(control<QPushButton>(tour, "runRoc")); }, "ROC Analysis",
                   "Replicates are enabled but some datasets have no ID assigned.", "statistics-roc-no-ids",
                   QMessageBox::Ok);
    showTab(tour, 0);
    tick(tour, "detectIds");
    run(tour, "runAnalysis");
    tour.pictureOf(statistics(tour), "statistics-replicates");
    tick(tour, "replicates");
}

void compareMatched(Tour& tour) {
    chooseIn(tour, "design", 1);
    tick(tour, "connectionLines");
    run(tour, "runAnalysis");
    Tour::expect(cell(tour, "groupTable", 1, 3) == "Wilcoxon", "Matched samples get the test for them.");
    Tour::expect(cell(tour, "groupTable", 1, 5).contains('*'), "Matched samples tell the dose, too.");
    tour.pictureOf(statistics(tour), "statistics-matched");
}

void compareThree(Tour& tour) {
    tick(tour, "addCategory");
    rename(tour, 2, "Low dose");
    tour.expectBox([&] { tour.click(control<QPushButton>(tour, "runAnalysis")); }, "Analysis",
                   "has fewer than 3 datasets", "statistics-empty-category", QMessageBox::Ok);
    fill(tour, 2, "Low dose");
    tour.expectBox([&] { tour.click(control<QPushButton>(tour, "runAnalysis")); }, "Analysis",
                   "Pairing is enabled but IDs are not valid.", "statistics-unmatched", QMessageBox::Ok);
    tick(tour, "detectIds");
    typeLevel(tour, "0.010");
    tour.expectBox([&] { tour.click(control<QPushButton>(tour, "runAnalysis")); }, "Analysis",
                   "With 8 matched observations", "statistics-power", QMessageBox::No);
    typeLevel(tour, "0.100");
    run(tour, "runAnalysis");
    Tour::expect(control<QTableWidget>(tour, "groupTable")->rowCount() == 8, "Every pair has its row.");
    tour.pictureOf(statistics(tour), "statistics-three-bonferroni");
    chooseIn(tour, "correction", 1);
    chooseIn(tour, "design", 0);
    run(tour, "runAnalysis");
    Tour::expect(cell(tour, "groupTable", 4, 4) == "Kruskal-Wallis", "Three categories get the test for many.");
    tour.pictureOf(statistics(tour), "statistics-three-holm");
}

void analyseRoc(Tour& tour) {
    showTab(tour, 1);
    tour.pictureOf(statistics(tour), "statistics-roc-empty");
    auto* button = control<QPushButton>(tour, "runRoc");
    const auto choose = [](QDialog& dialog, const QString& name) {
        auto* input = qobject_cast<QInputDialog*>(&dialog);
        Tour::expect(input != nullptr, "The classes are asked for.");
        input->setTextValue(name);
        QTest::keyClick(input, Qt::Key_Return);
    };
    // The second question comes when the first one has been answered.
    withDialog([&] { tour.click(button); },
               [&](QDialog& dialog) {
                   QTimer::singleShot(100, button, [&] {
                       if (auto* second = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                           choose(*second, "High dose");
                       }
                   });
                   choose(dialog, "Baseline");
               });
    Tour::waitFor([&] { return control<PlotStack>(tour, "rocPlots")->plots().size() == 3; },
                  "Both features and their combination have a curve.");
    Tour::settle();
    Tour::expect(cell(tour, "rocTable", 1, 1).toDouble() > 0.9, "Deformation separates the conditions.");
    Tour::expect(cell(tour, "rocTable", 0, 1).toDouble() < 0.8, "Size doesn't.");
    tour.pictureOf(statistics(tour), "statistics-roc");
}

void showDistributions(Tour& tour) {
    showTab(tour, 2);
    run(tour, "runDistribution");
    tour.pictureOf(statistics(tour), "statistics-distributions");
    chooseIn(tour, "mode", 1);
    run(tour, "runDistribution");
    Tour::expect(control<PlotStack>(tour, "distributionPlots")->plots().size() == 2, "Each feature has its plot.");
    tour.pictureOf(statistics(tour), "statistics-distributions-averaged");
}

void smallWindow(Tour& tour) {
    StatisticalEvalWindow& window = statistics(tour);
    window.resize(800, 560);
    showTab(tour, 0);
    tour.pictureOf(window, "statistics-small");
    window.close();
    Tour::settle();
    Tour::expect(tour.window().toolWindows().statisticalEvals().empty(), "The window is gone when it is closed.");
}

} // namespace

std::vector<TourStep> statisticsSteps() {
    return {{"statistics-loaded", load},
            {"statistics-opened", open},
            {"statistics-two", compareIndependent},
            {"statistics-folded", compareReplicates},
            {"statistics-pairs", compareMatched},
            {"statistics-more", compareThree},
            {"statistics-curves", analyseRoc},
            {"statistics-whole", showDistributions},
            {"statistics-closed", smallWindow}};
}

} // namespace Tessaly
