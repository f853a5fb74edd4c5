#include "plot/CanvasInput.h"

#include "core/ScaleMath.h"
#include "plot/ScatterPlot.h"

#include <QApplication>
#include <QImage>
#include <QRubberBand>
#include <QTest>
#include <QWheelEvent>
#include <qwt_interval.h>
#include <qwt_plot_shapeitem.h>
#include <qwt_scale_widget.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

using namespace Tessaly;

namespace {

using State = CanvasInput::State;

constexpr int X = QwtAxis::XBottom;
constexpr int Y = QwtAxis::YLeft;
constexpr int EditId = 5;
const QPolygonF Square({{200, 200}, {700, 200}, {700, 700}, {200, 700}});

/// A place of the canvas, in data units and pixels from there.
struct Place {
    QPointF data;
    QPointF offset;
};
const Place Vertex1{{700, 200}, {0, 0}};
const Place Edge2{{400, 700}, {0, 0}}; // from (700, 700) to (200, 700)
const Place Inside{{400, 400}, {0, 0}};
const Place OnPoint0{{100, 100}, {0, 0}};

struct CanvasInputTest : testing::Test {
    CanvasInputTest() : input(plot) {
        plot.resize(560, 480);
        plot.setData({100, 900}, {100, 50}, "X", "Y", {}, "");
        plot.show();
        setModes(ScaleMode::Linear, ScaleMode::Linear);
        plot.addPolygonOverlay(EditId, Square, true);
        const auto note = [this](const QString& text) { log << text; };
        QObject::connect(&plot, &ScatterPlot::pointClicked, [=](int i) { note(QString("clicked %1").arg(i)); });
        QObject::connect(&plot, &ScatterPlot::pointHovered, [=](int i) { note(QString("hovered %1").arg(i)); });
        QObject::connect(&plot, &ScatterPlot::polygonCompleted,
                         [=](const QPolygonF& polygon) { note(QString("completed %1").arg(polygon.size())); });
        QObject::connect(&plot, &ScatterPlot::polygonDrawingStopped, [=] { note("drawing stopped"); });
        QObject::connect(&plot, &ScatterPlot::polygonEdited, [=, this](int id, const QPolygonF& polygon) {
            note(QString("edited %1: %2").arg(id).arg(polygon.size()));
            edited = polygon;
        });
        QObject::connect(&plot, &ScatterPlot::polygonEditingStopped,
                         [=](int id) { note(QString("editing stopped %1").arg(id)); });
    }

    void setModes(int xMode, int yMode) {
        plot.setAxisScaleMode(X, xMode);
        plot.setAxisScaleMode(Y, yMode);
        plot.setAxisScale(X, 1, 1000);
        plot.setAxisScale(Y, 1, 1000);
        plot.replot();
        QApplication::processEvents();
    }

    QPointF at(const Place& place) const { return plot.toCanvas(place.data) + place.offset; }

    // Events to the machine under test; the answer is whether they are consumed.
    bool mouse(QEvent::Type type, Qt::MouseButton button, const QPointF& position, bool shift = false) {
        QMouseEvent event(type, position, plot.canvas()->mapToGlobal(position), button, button,
                          shift ? Qt::ShiftModifier : Qt::NoModifier);
        return input.handle(&event);
    }
    bool press(const Place& place, Qt::MouseButton button = Qt::LeftButton) {
        return mouse(QEvent::MouseButtonPress, button, at(place));
    }
    bool release(const Place& place) { return mouse(QEvent::MouseButtonRelease, Qt::LeftButton, at(place)); }
    bool move(const Place& place) { return mouse(QEvent::MouseMove, Qt::NoButton, at(place)); }
    bool doubleClick(const Place& place, Qt::MouseButton button = Qt::LeftButton) {
        return mouse(QEvent::MouseButtonDblClick, button, at(place));
    }
    bool key(int code) {
        QKeyEvent event(QEvent::KeyPress, code, Qt::NoModifier);
        return input.handle(&event);
    }
    bool wheel(const Place& place, int angle) {
        const QPointF position = at(place);
        QWheelEvent event(position, plot.canvas()->mapToGlobal(position), QPoint(), QPoint(0, angle), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        return input.handle(&event);
    }

    /// Brings the machine into a state, a drawing with some vertices.
    void enter(State state, int vertices = 0) {
        const QSignalBlocker blocker(plot);
        release(Inside);
        input.cancelPolygonDraw();
        input.stopPolygonEdit();
        plot.canvas()->setCursor(Qt::ArrowCursor);
        if (state == State::Zooming || state == State::Panning) {
            mouse(QEvent::MouseButtonPress, Qt::LeftButton, at(Inside), state == State::Panning);
        } else if (state == State::Drawing) {
            input.startPolygonDraw();
            for (int i = 0; i < vertices; ++i) {
                press({Square[i], {}});
            }
        } else if (state == State::Editing || state == State::Dragging) {
            input.startPolygonEdit(EditId, Square);
            if (state == State::Dragging) {
                press(Vertex1);
            }
        }
        ASSERT_EQ(input.state(), state);
        log.clear();
    }
    bool isZoomReset() const { return plot.axisAutoScale(X) && plot.axisAutoScale(Y); }
    bool gateShown() const {
        for (const QwtPlotItem* item : plot.itemList(QwtPlotItem::Rtti_PlotShape)) {
            if (item->isVisible()) {
                return true;
            }
        }
        return false;
    }
    Qt::CursorShape cursor() const { return plot.canvas()->cursor().shape(); }

    ScatterPlot plot;
    CanvasInput input; // a machine of its own beside that of the plot
    QStringList log;
    QPolygonF edited;
};

struct Event {
    QEvent::Type type;
    Qt::MouseButton button;
    Place place;
    bool shift = false;
};

struct Row {
    const char* name;
    State from;
    Event event;
    bool consumed;
    State next;
    QStringList log;
    int vertices = 4; ///< afterwards
    int before = 0;   ///< vertices drawn before
    Qt::CursorShape cursor = Qt::ArrowCursor;
    bool resetsZoom = false;
};

constexpr auto Press = QEvent::MouseButtonPress;
constexpr auto Release = QEvent::MouseButtonRelease;
constexpr auto Move = QEvent::MouseMove;
constexpr auto Double = QEvent::MouseButtonDblClick;
constexpr auto Key = QEvent::KeyPress;
constexpr auto Wheel = QEvent::Wheel;
constexpr auto Left = Qt::LeftButton;
constexpr auto Right = Qt::RightButton;
constexpr auto Middle = Qt::MiddleButton;
constexpr auto None = Qt::NoButton;

Place off(const Place& place, double dx, double dy) {
    return {place.data, {dx, dy}};
}

std::vector<Row> rows() {
    const auto I = State::Idle;
    const auto Z = State::Zooming;
    const auto P = State::Panning;
    const auto D = State::Drawing;
    const auto E = State::Editing;
    const auto G = State::Dragging;
    const auto Cross = Qt::CrossCursor;
    const auto Open = Qt::OpenHandCursor;
    const auto Closed = Qt::ClosedHandCursor;
    return {
        {"cancel", D, {Key, None, {}}, true, I, {"drawing stopped"}, 0, 3},
        {"vertex", D, {Press, Left, Inside}, true, D, {}, 3, 2, Cross},
        {"vertex with shift", D, {Press, Left, Inside, true}, true, D, {}, 3, 2, Cross},
        {"reset", D, {Press, Right, Inside}, true, D, {}, 2, 2, Cross, true},
        {"too few", D, {Double, Left, Inside}, true, D, {}, 2, 2, Cross},
        {"complete", D, {Double, Left, Inside}, true, I, {"completed 3", "drawing stopped"}, 0, 3},
        {"right twice", D, {Double, Right, Inside}, true, D, {}, 3, 3, Cross, true},
        {"middle passes", D, {Press, Middle, Inside}, false, D, {}, 3, 3, Cross},
        {"hover", D, {Move, None, OnPoint0}, false, D, {"hovered 0"}, 3, 3, Cross},
        {"no point", D, {Move, None, Inside}, false, D, {}, 3, 3, Cross},
        {"release passes", D, {Release, Left, Inside}, false, D, {}, 3, 3, Cross},

        {"stop", E, {Key, None, {}}, true, I, {"editing stopped 5"}, 0},
        {"grab", E, {Press, Left, Vertex1}, true, G, {}, 4, 0, Closed},
        {"grab beside, x", E, {Press, Left, off(Vertex1, 11.9, 0)}, true, G, {}, 4, 0, Closed},
        {"grab beside, y", E, {Press, Left, off(Vertex1, 0, 11.9)}, true, G, {}, 4, 0, Closed},
        {"beyond, x", E, {Press, Left, off(Vertex1, 12, 0)}, true, E, {}},
        {"beyond, y", E, {Press, Left, off(Vertex1, 0, 12)}, true, E, {}},
        {"split", E, {Press, Left, Edge2}, true, G, {}, 5, 0, Closed},
        {"split beside", E, {Press, Left, off(Edge2, 0, 7.9)}, true, G, {}, 5, 0, Closed},
        {"no edge", E, {Press, Left, off(Edge2, 0, 8)}, true, E, {}},
        {"neither", E, {Press, Left, Inside}, true, E, {}},
        {"neither, shift", E, {Press, Left, Inside, true}, true, E, {}},
        {"remove", E, {Press, Right, Vertex1}, true, E, {"edited 5: 3"}, 3},
        {"remove nothing", E, {Press, Right, Inside}, true, E, {}},
        {"other button", E, {Press, Middle, Inside}, true, E, {}},
        {"double", E, {Double, Left, Vertex1}, true, E, {}},
        {"over a vertex", E, {Move, None, Vertex1}, false, E, {}, 4, 0, Open},
        {"over an edge", E, {Move, None, Edge2}, false, E, {}, 4, 0, Cross},
        {"over nothing", E, {Move, None, Inside}, false, E, {}},
        {"hover too", E, {Move, None, OnPoint0}, false, E, {"hovered 0"}},

        {"drag", G, {Move, None, Inside}, true, G, {}, 4, 0, Closed},
        {"drag over a point", G, {Move, None, OnPoint0}, true, G, {}, 4, 0, Closed},
        {"drop", G, {Release, Left, Vertex1}, true, E, {"edited 5: 4"}},
        {"lose", G, {Key, None, {}}, true, I, {"editing stopped 5"}, 0},
        {"another press", G, {Press, Right, Vertex1}, true, G, {}, 4, 0, Closed},
        {"another release", G, {Release, Right, Vertex1}, false, G, {}, 4, 0, Closed},

        {"reset", I, {Press, Right, Inside}, true, I, {}, 0, 0, Qt::ArrowCursor, true},
        {"reset", I, {Double, Left, Inside}, true, I, {}, 0, 0, Qt::ArrowCursor, true},
        {"pan", I, {Press, Left, Inside, true}, true, P, {}, 0, 0, Closed},
        {"zoom", I, {Press, Left, Inside}, false, Z, {}, 0},
        {"escape passes", I, {Key, None, {}}, false, I, {}, 0},
        {"no hover", I, {Move, None, OnPoint0}, false, I, {}, 0},
        {"middle passes", I, {Press, Middle, Inside}, false, I, {}, 0},

        {"panning", P, {Move, None, OnPoint0}, true, P, {}, 0, 0, Closed},
        {"panned", P, {Release, Left, Inside}, true, I, {}, 0},
        {"escape passes", P, {Key, None, {}}, false, P, {}, 0, 0, Closed},
        {"band", Z, {Move, None, OnPoint0}, true, Z, {}, 0},
        {"click on nothing", Z, {Release, Left, Inside}, true, I, {}, 0},
        {"drawn back", Z, {Release, Left, off(Inside, 5, 5)}, true, I, {}, 0},
        {"escape passes", Z, {Key, None, {}}, false, Z, {}, 0},
    };
}

} // namespace

TEST_F(CanvasInputTest, FollowsItsTableOnEveryKindOfAxis) {
    for (const auto& [xMode, yMode] : {std::pair{0, 0}, {1, 1}, {2, 2}, {1, 2}, {2, 0}}) {
        for (const Row& row : rows()) {
            SCOPED_TRACE(testing::Message() << row.name << ", modes " << xMode << " and " << yMode);
            setModes(xMode, yMode);
            enter(row.from, row.before);
            const bool consumed = row.event.type == Key
                                      ? key(Qt::Key_Escape)
                                      : mouse(row.event.type, row.event.button, at(row.event.place), row.event.shift);
            EXPECT_EQ(consumed, row.consumed);
            EXPECT_EQ(input.state(), row.next);
            EXPECT_EQ(log, row.log);
            EXPECT_EQ(input.vertices().size(), row.vertices);
            EXPECT_EQ(cursor(), row.cursor);
            EXPECT_EQ(isZoomReset(), row.resetsZoom);
            EXPECT_EQ(input.isEditing(), row.next == State::Editing || row.next == State::Dragging);
            EXPECT_EQ(input.editId(), input.isEditing() ? EditId : -1);
            EXPECT_EQ(gateShown(), !input.isEditing());
        }
    }
}

TEST_F(CanvasInputTest, TheWheelZoomsInEveryStateAndChangesNone) {
    for (const State state :
         {State::Idle, State::Zooming, State::Panning, State::Drawing, State::Editing, State::Dragging}) {
        for (const auto& [angle, factor] : {std::pair{120, 0.8}, std::pair{-120, 1.25}}) {
            setModes(ScaleMode::Linear, ScaleMode::PseudoLog);
            enter(state);
            const QPointF fixed = plot.toData(at(Inside));
            EXPECT_TRUE(wheel(Inside, angle));
            EXPECT_EQ(input.state(), state);
            EXPECT_NEAR(plot.axisInterval(X).minValue(), fixed.x() - (fixed.x() - 1) * factor, 1e-6);
            EXPECT_NEAR(plot.axisInterval(X).maxValue(), fixed.x() + (1000 - fixed.x()) * factor, 1e-6);
            EXPECT_NEAR(plot.axisInterval(Y).minValue(), fixed.y() - (fixed.y() - 1) * factor, 1e-6);
            EXPECT_NEAR(plot.axisInterval(Y).maxValue(), fixed.y() + (1000 - fixed.y()) * factor, 1e-6);
            enter(State::Idle);
        }
    }
}

TEST_F(CanvasInputTest, PanningMovesBothAxesWithTheMouseInSeveralMoves) {
    for (const auto& [xMode, yMode] : {std::pair{0, 0}, {1, 2}}) {
        setModes(xMode, yMode);
        enter(State::Panning);
        double x1 = 1;
        double y2 = 1000;
        QPointF last = at(Inside).toPoint();
        for (const QPointF& step : {QPointF(20, -10), QPointF(-5, -15), QPointF(7, 3)}) {
            // On the values: what lies at the canvas's origin moves with the mouse.
            x1 += plot.toData({0, 0}).x() - plot.toData(step).x();
            y2 += plot.toData({0, 0}).y() - plot.toData(step).y();
            last += step;
            mouse(Move, None, last);
            EXPECT_NEAR(plot.axisInterval(X).minValue(), x1, 1e-6);
            EXPECT_NEAR(plot.axisInterval(Y).maxValue(), y2, 1e-6);
        }
        release(Inside);
    }
}

TEST_F(CanvasInputTest, VerticesAreDataWhateverTheAxesDoMeanwhile) {
    setModes(ScaleMode::Log, ScaleMode::PseudoLog);
    input.startPolygonDraw();
    QPolygonF expected;
    const auto click = [&](const QPointF& data) {
        const QPointF pixel = plot.toCanvas(data);
        expected << plot.toData(pixel);
        mouse(Press, Left, pixel);
    };
    click({10, 30});
    click({300, 30});
    setModes(ScaleMode::Linear, ScaleMode::Linear);
    wheel(Inside, 120);
    click({300, 500});
    EXPECT_EQ(input.vertices(), expected);
    EXPECT_NEAR(expected[0].x(), 10, 1e-9);
    EXPECT_NEAR(expected[0].y(), 30, 1e-9);
}

TEST_F(CanvasInputTest, ADoubleClickAddsItsFirstPressOnly) {
    const auto doubleClickFully = [this](const Place& place) {
        press(place);
        release(place);
        doubleClick(place);
        release(place);
    };
    enter(State::Drawing, 1);
    doubleClickFully(Inside);
    EXPECT_EQ(input.state(), State::Drawing);
    EXPECT_EQ(input.vertices().size(), 2);
    enter(State::Drawing, 2);
    doubleClickFully(Inside);
    EXPECT_EQ(log, (QStringList{"completed 3", "drawing stopped"}));
}

TEST_F(CanvasInputTest, ADragEndsWithTheVertexUnderTheMouse) {
    for (const int mode : {ScaleMode::Linear, ScaleMode::Log, ScaleMode::PseudoLog}) {
        setModes(mode, mode);
        enter(State::Dragging);
        move(Inside);
        move({{500, 450}, {}});
        EXPECT_TRUE(log.isEmpty()); // the filter is asked at the end only
        release({{500, 450}, {}});
        ASSERT_EQ(edited.size(), 4);
        EXPECT_NEAR(edited[1].x(), 500, 1e-9);
        EXPECT_NEAR(edited[1].y(), 450, 1e-9);
        EXPECT_EQ(edited[0], Square[0]);
        EXPECT_EQ(edited[2], Square[2]);

        enter(State::Editing);
        press(Edge2);
        move({{450, 800}, {}});
        release({{450, 800}, {}});
        ASSERT_EQ(edited.size(), 5);
        EXPECT_NEAR(edited[3].x(), 450, 1e-9); // between the edge's ends
        EXPECT_NEAR(edited[3].y(), 800, 1e-9);
        EXPECT_EQ(edited[4], Square[3]);

        enter(State::Editing);
        press({{200, 450}, {}}); // the closing edge
        release({{200, 450}, {}});
        ASSERT_EQ(edited.size(), 5);
        EXPECT_NEAR(edited[4].y(), 450, 1e-9);
    }
}

TEST_F(CanvasInputTest, ATriangleKeepsItsVertices) {
    input.startPolygonEdit(EditId, Square.first(3));
    EXPECT_TRUE(press(Vertex1, Right));
    EXPECT_EQ(input.vertices().size(), 3);
    EXPECT_TRUE(log.isEmpty());
}

TEST_F(CanvasInputTest, EscapeDuringADragLosesOnlyTheDrag) {
    enter(State::Editing);
    press(Vertex1);
    move(Inside);
    release(Inside);
    const QPolygonF kept = edited;
    press(Inside);
    move({{600, 600}, {}});
    key(Qt::Key_Escape);
    release({{600, 600}, {}});
    EXPECT_EQ(log, (QStringList{"edited 5: 4", "editing stopped 5"}));
    EXPECT_EQ(edited, kept);
}

TEST_F(CanvasInputTest, DrawingAndEditingExcludeEachOther) {
    enter(State::Drawing, 2);
    input.startPolygonEdit(EditId, Square);
    EXPECT_EQ(log, QStringList{"drawing stopped"});
    log.clear();
    input.startPolygonEdit(EditId, Square); // the same once more
    EXPECT_TRUE(log.isEmpty());
    input.startPolygonEdit(1000007, Square);
    EXPECT_EQ(log, QStringList{"editing stopped 5"});
    EXPECT_EQ(input.editId(), 1000007);
    EXPECT_TRUE(gateShown()); // the gate of the first is back
    log.clear();
    input.startPolygonDraw();
    EXPECT_EQ(log, QStringList{"editing stopped 1000007"});
    EXPECT_EQ(input.state(), State::Drawing);
    EXPECT_TRUE(input.vertices().isEmpty());
    EXPECT_TRUE(plot.canvas()->hasFocus() || !plot.isActiveWindow());
    log.clear();
    input.stopPolygonEdit(); // nothing to stop
    EXPECT_TRUE(log.isEmpty());
    input.cancelPolygonDraw();
    input.cancelPolygonDraw();
    EXPECT_EQ(log, QStringList{"drawing stopped"});
}

TEST_F(CanvasInputTest, AGestureDoesNotOutliveTheStartOfADrawing) {
    enter(State::Zooming);
    move(OnPoint0);
    auto* band = plot.canvas()->findChild<QRubberBand*>();
    ASSERT_TRUE(band->isVisible());
    input.startPolygonDraw();
    EXPECT_FALSE(band->isVisible());
    release(OnPoint0);
    EXPECT_TRUE(log.isEmpty());
    EXPECT_FALSE(isZoomReset());
    EXPECT_EQ(plot.axisInterval(X), QwtInterval(1, 1000));
}

TEST_F(CanvasInputTest, APointIsReportedOncePerVisit) {
    enter(State::Drawing);
    for (const Place& place : {OnPoint0, off(OnPoint0, 1, 1), Inside, OnPoint0, Place{{900, 50}, {}}}) {
        move(place);
    }
    EXPECT_EQ(log, (QStringList{"hovered 0", "hovered 0", "hovered 1"}));
}

TEST_F(CanvasInputTest, ListenersMayChangeTheStateInTheirTurn) {
    const auto connection =
        QObject::connect(&plot, &ScatterPlot::polygonCompleted, [this] { input.startPolygonDraw(); });
    enter(State::Drawing, 3);
    doubleClick(Inside);
    EXPECT_EQ(input.state(), State::Drawing);
    QObject::disconnect(connection);
    QObject::connect(&plot, &ScatterPlot::polygonEdited, [this] { input.stopPolygonEdit(); });
    enter(State::Dragging);
    release(Vertex1);
    EXPECT_EQ(input.state(), State::Idle);
    EXPECT_TRUE(input.vertices().isEmpty());
}

namespace {

/// Counts how often the plot's items are drawn.
struct PaintCounter : QwtPlotItem {
    void draw(QPainter*, const QwtScaleMap&, const QwtScaleMap&, const QRectF&) const override { ++count; }
    mutable int count = 0;
};

/// The plot as the user meets it, with its own machine.
struct PolygonOnPlotTest : testing::Test {
    PolygonOnPlotTest() {
        plot.resize(560, 480);
        plot.setData({100, 900}, {100, 50}, "X", "Y", {}, "");
        plot.setAxisScale(X, 0, 1000);
        plot.setAxisScale(Y, 0, 1000);
        plot.show();
        plot.activateWindow();
        QApplication::processEvents();
        canvas = plot.canvas();
    }
    QPoint at(double x, double y) const { return plot.toCanvas({x, y}).toPoint(); }

    ScatterPlot plot;
    QWidget* canvas = nullptr;
};

} // namespace

TEST_F(PolygonOnPlotTest, IsDrawnAndEditedWithoutPaintingTheDotsAgain) {
    auto* counter = new PaintCounter;
    counter->attach(&plot);
    QSignalSpy completed(&plot, &ScatterPlot::polygonCompleted);
    plot.startPolygonDraw();
    QApplication::processEvents();
    counter->count = 0;
    const QImage before = canvas->grab().toImage();
    counter->count = 0;
    for (const QPoint& place : {at(200, 200), at(700, 200), at(500, 700)}) {
        QTest::mouseClick(canvas, Qt::LeftButton, {}, place);
        QTest::mouseMove(canvas, place + QPoint(3, 3));
    }
    QApplication::processEvents();
    EXPECT_EQ(counter->count, 0);
    const QColor line = canvas->grab().toImage().pixelColor(at(200, 200));
    EXPECT_EQ(line, QColor(Qt::red));
    QTest::mouseDClick(canvas, Qt::LeftButton, {}, at(500, 700));
    ASSERT_EQ(completed.count(), 1);
    EXPECT_EQ(canvas->grab().toImage(), before); // the outline is gone

    QSignalSpy edited(&plot, &ScatterPlot::polygonEdited);
    plot.startPolygonEdit(3, Square);
    EXPECT_TRUE(plot.isEditing());
    EXPECT_EQ(plot.editId(), 3);
    QApplication::processEvents();
    QTest::mousePress(canvas, Qt::LeftButton, {}, at(700, 700));
    counter->count = 0;
    for (int i = 1; i <= 10; ++i) {
        QTest::mouseMove(canvas, at(700 + 20 * i, 700 + 10 * i));
        QApplication::processEvents();
    }
    EXPECT_EQ(counter->count, 0);
    EXPECT_EQ(canvas->grab().toImage().pixelColor(at(900, 800)), QColor(Qt::red));
    EXPECT_NE(canvas->grab().toImage().pixelColor(at(700, 700)), QColor(Qt::red));
    QTest::mouseRelease(canvas, Qt::LeftButton, {}, at(900, 800));
    ASSERT_EQ(edited.count(), 1);
    const auto polygon = edited[0][1].value<QPolygonF>();
    EXPECT_EQ(polygon[2], plot.toData(at(900, 800)));
}

TEST_F(PolygonOnPlotTest, TheOutlineFollowsTheAxes) {
    plot.startPolygonEdit(3, Square);
    const auto isRed = [this](const QPoint& place) {
        QApplication::processEvents();
        return canvas->grab().toImage().pixelColor(place) == QColor(Qt::red);
    };
    EXPECT_TRUE(isRed(at(200, 700)));
    plot.setAxisScale(X, 100, 800);
    plot.setAxisScale(Y, 50, 900);
    plot.replot();
    EXPECT_TRUE(isRed(at(200, 700)));
    plot.resize(700, 400);
    QApplication::processEvents();
    EXPECT_TRUE(isRed(at(200, 700)));
    plot.setAxisScaleMode(Y, ScaleMode::Log);
    plot.setAxisScale(Y, 10, 1000);
    plot.replot();
    EXPECT_TRUE(isRed(at(200, 700)));
}

TEST_F(PolygonOnPlotTest, EscapeWorksWhereverTheFocusIsInThePlot) {
    plot.setFocusPolicy(Qt::StrongFocus);
    plot.axisWidget(X)->setFocusPolicy(Qt::StrongFocus);
    QSignalSpy stopped(&plot, &ScatterPlot::polygonDrawingStopped);
    for (QWidget* focused : {canvas, static_cast<QWidget*>(&plot), static_cast<QWidget*>(plot.axisWidget(X))}) {
        stopped.clear();
        plot.startPolygonDraw();
        focused->setFocus();
        QTest::keyClick(focused, Qt::Key_Escape);
        EXPECT_EQ(stopped.count(), 1) << focused->metaObject()->className();
    }
    // A shortcut of the window doesn't get in the way, but only while there is something to end.
    for (const bool drawing : {true, false}) {
        if (drawing) {
            plot.startPolygonDraw();
        }
        QKeyEvent override(QEvent::ShortcutOverride, Qt::Key_Escape, Qt::NoModifier);
        override.ignore();
        QApplication::sendEvent(canvas, &override);
        EXPECT_EQ(override.isAccepted(), drawing);
        plot.cancelPolygonDraw();
    }
}

TEST_F(PolygonOnPlotTest, TheGateUnderEditStaysHiddenWhenGatesAreShownAnew) {
    plot.addPolygonOverlay(3, Square, true);
    plot.startPolygonEdit(3, Square);
    const auto shown = [this] {
        int count = 0;
        for (const QwtPlotItem* item : plot.itemList(QwtPlotItem::Rtti_PlotShape)) {
            count += item->isVisible() ? 1 : 0;
        }
        return count;
    };
    plot.clearPolygonOverlays();
    plot.addPolygonOverlay(3, Square, true);
    plot.addPolygonOverlay(4, Square, true);
    EXPECT_EQ(shown(), 1);
    plot.stopPolygonEdit();
    EXPECT_EQ(shown(), 2);
}

TEST_F(PolygonOnPlotTest, TheAxesKeepTheWholePolygonInViewWhileItIsEdited) {
    plot.setData({1, 2, 3}, {1, 2, 3}, "x", "y", {}, {});
    plot.resetZoom();
    const QPolygonF large({{-50, 2}, {2, 90}, {70, 2}});
    const auto seen = [this, &large] {
        return std::ranges::all_of(large, [this](const QPointF& corner) {
            return plot.axisInterval(QwtPlot::xBottom).contains(corner.x()) &&
                   plot.axisInterval(QwtPlot::yLeft).contains(corner.y());
        });
    };
    plot.addPolygonOverlay(3, large, true);
    EXPECT_TRUE(seen());
    plot.startPolygonEdit(3, large);
    EXPECT_TRUE(seen());
    plot.clearPolygonOverlays();
    plot.addPolygonOverlay(3, large, true);
    EXPECT_TRUE(seen());
    plot.stopPolygonEdit();
    EXPECT_TRUE(seen());
    plot.clearPolygonOverlays();
    EXPECT_FALSE(seen());
}

TEST_F(PolygonOnPlotTest, NewPointsAreHoveredAnew) {
    QSignalSpy hovered(&plot, &ScatterPlot::pointHovered);
    plot.startPolygonDraw();
    QTest::mouseMove(canvas, at(100, 100));
    plot.setData({100, 900}, {100, 50}, "X", "Y", {}, "");
    QTest::mouseMove(canvas, at(100, 100) + QPoint(1, 0));
    EXPECT_EQ(hovered.count(), 2);
}
