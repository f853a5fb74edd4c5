#include "BenchFile.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "ui/filters/FilterDockWidget.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QTemporaryDir>
#include <QToolButton>

#include <benchmark/benchmark.h>

#include <memory>
#include <stdexcept>
#include <vector>

// The filter dock for another dataset, against the same widgets without anything behind them.

namespace {

using namespace Tessaly;

constexpr int Groups = 6;
constexpr int RulesPerGroup = 10;
constexpr int Features = 40;

struct TwoDatasets {
    Session session;

    TwoDatasets() {
        const QTemporaryDir folder;
        initializeHdf5();
        for (int i = 0; i < 2; ++i) {
            const std::string path = folder.filePath(QString::number(i)).toStdString();
            writeOneColumnFile(path, "area_um", {1.0, 2.0});
            auto entry = session.newEntry();
            entry->reader = std::make_shared<VQDReader>();
            if (!entry->reader->open(path)) {
                throw std::runtime_error("the file of the benchmark does not open");
            }
            for (int feature = 1; feature < Features; ++feature) {
                entry->reader->setFeature("userdef" + std::to_string(feature % 10) + std::to_string(feature),
                                          {1.0, 2.0});
            }
            entry->featuresLoaded = true;
            session.append(std::move(entry));
        }
        FilterRule rule;
        rule.featureName = "area_um";
        rule.minValue = 0.5;
        rule.maxValue = 1.5;
        for (int i = 0; i < Groups; ++i) {
            const int id = session.addFilterGroup({});
            for (int j = 0; j < RulesPerGroup; ++j) {
                session.addRuleToGroup(id, rule);
            }
        }
    }
};

/// Another dataset is shown: every row is made anew.
void rebuildDock(benchmark::State& state) {
    TwoDatasets data;
    FilterDockWidget dock;
    dock.resize(300, 600);
    dock.show();
    int shown = 0;
    for (auto _ : state) {
        shown = 1 - shown;
        dock.setDataset(data.session.datasetAt(shown));
        dock.setFilterGroups(data.session.filterGroups());
        QApplication::processEvents();
        state.PauseTiming();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        state.ResumeTiming();
    }
}

void addPlainRow(QVBoxLayout* layout) {
    auto* row = new QWidget;
    auto* lines = new QVBoxLayout(row);
    auto* first = new QHBoxLayout;
    auto* feature = new QComboBox;
    for (int i = 0; i < Features; ++i) {
        feature->addItem(QStringLiteral("Feature %1").arg(i), i);
    }
    for (QWidget* widget : std::initializer_list<QWidget*>{new QCheckBox, feature, new QToolButton}) {
        first->addWidget(widget);
    }
    auto* second = new QHBoxLayout;
    second->addWidget(new QDoubleSpinBox);
    second->addWidget(new QDoubleSpinBox);
    lines->addLayout(first);
    lines->addLayout(second);
    lines->addWidget(new QCheckBox(QStringLiteral("Invert")));
    layout->addWidget(row);
    layout->addWidget(new QFrame);
}

void buildPlainWidgets(benchmark::State& state) {
    QScrollArea area;
    area.setWidgetResizable(true);
    area.resize(300, 600);
    area.show();
    for (auto _ : state) {
        auto* content = new QWidget;
        auto* layout = new QVBoxLayout(content);
        for (int i = 0; i < Groups; ++i) {
            auto* group = new QFrame;
            auto* rows = new QVBoxLayout(group);
            for (QWidget* widget : std::initializer_list<QWidget*>{
                     new QLineEdit, new QCheckBox, new QToolButton,
                     new QPushButton(QStringLiteral("Check in All Datasets")),
                     new QPushButton(QStringLiteral("+ Rule")), new QPushButton(QStringLiteral("+ Polygon"))}) {
                rows->addWidget(widget);
            }
            for (int j = 0; j < RulesPerGroup; ++j) {
                addPlainRow(rows);
            }
            layout->addWidget(group);
        }
        area.setWidget(content);
        QApplication::processEvents();
        state.PauseTiming();
        delete area.takeWidget();
        state.ResumeTiming();
    }
}

BENCHMARK(rebuildDock)->Name("dock_60_rules")->Unit(benchmark::kMillisecond);
BENCHMARK(buildPlainWidgets)->Name("dock_60_rules/baseline")->Unit(benchmark::kMillisecond);

} // namespace
