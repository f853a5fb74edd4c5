#include "../tests/support/PlainHost.h"
#include "session/Session.h"
#include "tools/matrix/FilterGroupsMatrixWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QHeaderView>
#include <QMainWindow>
#include <QTreeWidget>

#include <benchmark/benchmark.h>

#include <memory>

// The table of filter groups and datasets, against a tree of the same size with nothing but check boxes.

namespace {

using namespace Tessaly;

constexpr int Datasets = 200;
constexpr int Groups = 30;

struct LargeSession {
    Session session;
    PlainHost host;

    LargeSession() {
        for (int i = 0; i < Datasets; ++i) {
            auto entry = session.newEntry();
            entry->displayName = QStringLiteral("donor %1, treated").arg(i);
            session.append(std::move(entry));
        }
        for (int i = 0; i < Groups; ++i) {
            session.addFilterGroup("cells " + std::to_string(i));
        }
    }
};

LargeSession& largeSession() {
    static LargeSession made;
    return made;
}

/// Until it stands on the screen.
void present(QWidget& window) {
    window.show();
    QApplication::processEvents();
}

void openMatrix(benchmark::State& state) {
    LargeSession& large = largeSession();
    for (auto _ : state) {
        auto window = std::make_unique<FilterGroupsMatrixWindow>(large.session, large.host);
        present(*window);
        state.PauseTiming();
        window.reset();
        QApplication::processEvents();
        state.ResumeTiming();
    }
}

void openPlainTree(benchmark::State& state) {
    for (auto _ : state) {
        auto window = std::make_unique<QMainWindow>();
        window->resize(720, 480);
        auto* tree = new QTreeWidget;
        tree->setColumnCount(Groups + 1);
        tree->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
        for (int row = 0; row < Datasets; ++row) {
            auto* item = new QTreeWidgetItem(tree, {QStringLiteral("donor %1, treated").arg(row)});
            for (int column = 1; column <= Groups; ++column) {
                tree->setItemWidget(item, column, new QCheckBox);
            }
        }
        window->setCentralWidget(tree);
        present(*window);
        state.PauseTiming();
        window.reset();
        QApplication::processEvents();
        state.ResumeTiming();
    }
}

/// A click on one box until the table is painted again; nothing else listens.
void toggleCell(benchmark::State& state) {
    LargeSession& large = largeSession();
    FilterGroupsMatrixWindow window(large.session, large.host);
    present(window);
    auto* tree = window.findChild<QTreeWidget*>("matrixTree");
    auto* box = tree->itemWidget(tree->topLevelItem(5), 2)->findChild<QCheckBox*>();
    for (auto _ : state) {
        box->click();
        QApplication::processEvents();
    }
}

BENCHMARK(openMatrix)->Name("matrix_open")->Unit(benchmark::kMillisecond);
BENCHMARK(openPlainTree)->Name("matrix_open/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(toggleCell)->Name("matrix_toggle_cell")->Unit(benchmark::kMillisecond);
BENCHMARK(openPlainTree)->Name("matrix_toggle_cell/baseline")->Unit(benchmark::kMillisecond);

} // namespace
