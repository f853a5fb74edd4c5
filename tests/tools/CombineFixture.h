#pragma once

#include "core/DatasetEntry.h"
#include "session/SessionBuilder.h"
#include "support/PlainHost.h"
#include "tools/combine/CombineDatasetWidget.h"
#include "tools/combine/CombinePlotWindow.h"
#include "tools/combine/CombineRowList.h"
#include "widgets/DatasetDrag.h"

#include <QApplication>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace Tessaly {

struct CombineHost : PlainHost {
    int colorMapIndex() const override { return colorMap; }
    EModulus* emodulus() override { return &engine; }
    EModulusParams emodulusParamsFor(const VQDMetadata& /*metadata*/, bool hasTemperatures) const override {
        EModulusParams asked = params;
        asked.temperatureSource = hasTemperatures ? TemperatureSource::PerEvent : params.temperatureSource;
        return asked;
    }

    int colorMap = 0;
    EModulusParams params;
    EModulus engine;
};

/// A session with a combine window over it, worked through its controls.
class CombineFixture : public testing::Test {
protected:
    CombineFixture() { open(); }

    void open() {
        window = std::make_unique<CombinePlotWindow>(session(), host);
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }

    /// A dataset of some events with area and deformation around a place of its own.
    DatasetEntry& add(int events = 40, double shift = 0.0) {
        std::vector<double> area;
        std::vector<double> deform;
        for (int i = 0; i < events; ++i) {
            area.push_back(50.0 + shift + i * 7 % 23);
            deform.push_back(0.05 + 0.002 * (i * 5 % 17));
        }
        return builder.add(Columns{{"area_um", area}, {"deform", deform}});
    }
    /// The same, and into the window.
    int show(int events = 40, double shift = 0.0) {
        const int id = add(events, shift).id;
        window->addDataset(id);
        finish();
        return id;
    }

    /// Until everything is drawn that was put off.
    void finish() {
        QApplication::processEvents();
        window->finishRefresh();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    template <typename T>
    T* part(const char* name) const {
        T* found = window->findChild<T*>(name);
        EXPECT_TRUE(found) << name;
        return found;
    }
    CombineDatasetWidget* row(int index) const {
        return window->findChild<CombineRowList*>()->rows()[static_cast<std::size_t>(index)];
    }
    void click(const char* name) {
        auto* widget = part<QWidget>(name);
        QTest::mouseClick(widget, Qt::LeftButton, {}, {8, widget->height() / 2});
        finish();
    }
    static void choose(QComboBox* combo, int index) {
        for (int guard = 0; combo->currentIndex() != index && guard < 50; ++guard) {
            QTest::keyClick(combo, combo->currentIndex() < index ? Qt::Key_Down : Qt::Key_Up);
        }
    }
    void choose(const char* name, int index) {
        choose(part<QComboBox>(name), index);
        finish();
    }
    void type(const char* name, const QString& text) {
        auto* box = part<QWidget>(name);
        box->setFocus();
        QTest::keySequence(box, QKeySequence::SelectAll);
        QTest::keyClicks(box, text);
        QTest::keyClick(box, Qt::Key_Return);
        finish();
    }

    /// Drags over a widget and drops there. Returns whether the drag and the drop were accepted.
    static std::pair<bool, bool> drop(QWidget* target, const QMimeData* data, const QPoint& position) {
        QDragEnterEvent enter(position, Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &enter);
        QDragMoveEvent move(position, Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &move);
        QDropEvent dropped(position, Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton, Qt::NoModifier);
        dropped.setAccepted(false);
        QApplication::sendEvent(target, &dropped);
        return {enter.isAccepted(), dropped.isAccepted()};
    }

    std::vector<int> order() const {
        std::vector<int> ids;
        for (const auto& settings : window->model().datasets()) {
            ids.push_back(settings.datasetId);
        }
        return ids;
    }
    Session& session() { return builder.session; }

    SessionBuilder builder;
    CombineHost host;
    std::unique_ptr<CombinePlotWindow> window;
};

} // namespace Tessaly
