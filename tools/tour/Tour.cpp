#include "Tour.h"

#include "ui/MainPanels.h"
#include "ui/MainWindow.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QTabBar>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <cstdio>
#include <optional>

namespace Tessaly {

namespace {

constexpr int MaxSettleRounds = 20;

// Menus and dialogs lie over the window; a picture of the window alone would lack them.
void paintOverlays(QPixmap& picture, const QWidget& window) {
    QPainter painter(&picture);
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        const Qt::WindowType type = widget->windowType();
        if (widget == &window || !widget->isVisible() || (type != Qt::Popup && type != Qt::Dialog)) {
            continue;
        }
        const QPoint place = widget->geometry().topLeft() - window.geometry().topLeft();
        painter.drawPixmap(place, widget->grab());
        if (type == Qt::Dialog) {
            painter.setPen(QColor(120, 124, 130));
            painter.drawRect(QRect(place, widget->size()).adjusted(-1, -1, 0, 0));
        }
    }
}

} // namespace

Tour::Tour(MainWindow& window, const QString& dataFolder, const QString& outputFolder)
    : window_(window),
      dataFolder_(dataFolder),
      output_(outputFolder) {
    expect(output_.mkpath(QStringLiteral(".")), QStringLiteral("The folder for the pictures can be made."));
    // Pictures of an earlier, longer tour would mix with the new ones.
    for (const QString& old : output_.entryList({QStringLiteral("[0-9][0-9]-*.png")}, QDir::Files)) {
        output_.remove(old);
    }
}

const MainPanels& Tour::panels() const {
    return window_.panels();
}

QWidget* Tour::findWidget(const char* name) const {
    return window_.findChild<QWidget*>(QLatin1String(name));
}

void Tour::picture(const QString& name) {
    pictureOf(window_, name);
}

void Tour::pictureOf(QWidget& window, const QString& name) {
    ++pictures_;
    const QString file = QStringLiteral("%1-%2.png").arg(pictures_, 2, 10, QLatin1Char('0')).arg(name);
    QPixmap picture = window.grab();
    paintOverlays(picture, window);
    expect(picture.save(output_.filePath(file)), QStringLiteral("The picture %1 can be written.").arg(file));
    std::printf("  %s\n", qPrintable(file));
    std::fflush(stdout);
}

void Tour::expect(bool condition, const QString& sentence) {
    if (!condition) {
        throw TourFailure(sentence.toStdString());
    }
}

void Tour::waitFor(const std::function<bool()>& condition, const QString& sentence, int milliseconds) {
    expect(QTest::qWaitFor(condition, milliseconds), sentence);
}

void Tour::settle() {
    for (int round = 0; round < MaxSettleRounds; ++round) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
}

void Tour::click(QWidget* widget) {
    // A check box answers on its mark and text only, however wide it is.
    const bool isCheckBox = qobject_cast<QCheckBox*>(widget) != nullptr;
    clickAt(widget, isCheckBox ? QPoint(8, widget->height() / 2) : widget->rect().center());
}

void Tour::clickAt(QWidget* widget, const QPoint& position) {
    expect(widget->isVisible() && widget->isEnabled(),
           QStringLiteral("\"%1\" can be clicked.").arg(widget->objectName()));
    QTest::mouseClick(widget, Qt::LeftButton, Qt::NoModifier, position);
    settle();
}

void Tour::clickRow(QAbstractScrollArea* view, const QRect& row) {
    clickAt(view->viewport(), (row & view->viewport()->rect()).center());
}

void Tour::dragTo(QWidget* widget, const QPoint& from, const QPoint& to) {
    constexpr int steps = 5;
    QTest::mousePress(widget, Qt::LeftButton, Qt::NoModifier, from);
    for (int step = 1; step <= steps; ++step) {
        const QPointF position = from + (to - from) * (double(step) / steps);
        QMouseEvent move(QEvent::MouseMove, position, widget->mapToGlobal(position), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(widget, &move);
    }
    settle();
}

void Tour::release(QWidget* widget, const QPoint& position) {
    QTest::mouseRelease(widget, Qt::LeftButton, Qt::NoModifier, position);
    settle();
}

void Tour::typeInto(QWidget* field, const QString& text) {
    click(field);
    field->setFocus();
    QTest::keySequence(field, QKeySequence::SelectAll);
    QTest::keyClicks(field, text);
    QTest::keyClick(field, Qt::Key_Return);
    settle();
}

void Tour::choose(QComboBox* combo, int row) {
    expect(row >= 0 && row < combo->count(),
           QStringLiteral("\"%1\" offers what is to be chosen.").arg(combo->objectName()));
    click(combo);
    QAbstractItemView* list = combo->view();
    expect(list->isVisible(), QStringLiteral("\"%1\" opens.").arg(combo->objectName()));
    QTest::keyClick(list, Qt::Key_Home);
    for (int i = 0; i < row; ++i) {
        QTest::keyClick(list, Qt::Key_Down);
    }
    QTest::keyClick(list, Qt::Key_Return);
    settle();
    expect(combo->currentIndex() == row, QStringLiteral("\"%1\" shows the choice.").arg(combo->objectName()));
}

void Tour::chooseFeature(const char* comboName, const std::string& key) {
    auto* combo = find<QComboBox>(comboName);
    choose(combo, combo->findData(QString::fromStdString(key)));
}

void Tour::clickDockTab(const QString& title) {
    for (QTabBar* bar : window_.findChildren<QTabBar*>()) {
        for (int i = 0; i < bar->count(); ++i) {
            if (bar->tabText(i) == title && bar->isVisible()) {
                clickAt(bar, bar->tabRect(i).center());
                return;
            }
        }
    }
    expect(false, QStringLiteral("There is a tab \"%1\".").arg(title));
}

QMenu* Tour::openMenu(const QString& title) {
    QMenuBar* bar = window_.menuBar();
    for (QAction* action : bar->actions()) {
        if (action->text().remove(QLatin1Char('&')) == title) {
            clickAt(bar, bar->actionGeometry(action).center());
            expect(action->menu()->isVisible(), QStringLiteral("The menu \"%1\" opens.").arg(title));
            return action->menu();
        }
    }
    expect(false, QStringLiteral("There is a menu \"%1\".").arg(title));
    return nullptr;
}

void Tour::clickMenuEntry(QMenu* menu, const QString& text) {
    for (QAction* action : menu->actions()) {
        if (action->text().remove(QLatin1Char('&')) == text) {
            clickAt(menu, menu->actionGeometry(action).center());
            return;
        }
    }
    expect(false, QStringLiteral("The menu has an entry \"%1\".").arg(text));
}

QMenu* Tour::openContextMenu(QAbstractScrollArea* view, const QRect& row) {
    const QPoint position = (row & view->viewport()->rect()).center();
    QTest::mouseClick(view->viewport(), Qt::RightButton, Qt::NoModifier, position);
    QContextMenuEvent event(QContextMenuEvent::Mouse, position, view->viewport()->mapToGlobal(position));
    QApplication::sendEvent(view->viewport(), &event);
    settle();
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    expect(menu != nullptr, QStringLiteral("A right click opens a menu."));
    return menu;
}

void Tour::dropOnWindow(const QString& path) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path)});
    const QPoint middle = window_.rect().center();
    QDragEnterEvent enter(middle, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window_, &enter);
    expect(enter.isAccepted(), QStringLiteral("The window accepts files that are dragged onto it."));
    QDropEvent drop(middle, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window_, &drop);
}

void Tour::expectBox(const std::function<void()>& action, const QString& title, const QString& text,
                     const QString& pictureName, int answer) {
    QString seenTitle;
    QString seenText;
    std::optional<TourFailure> failure; // must not fly through the box's event loop
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->isVisible() || !box->button(static_cast<QMessageBox::StandardButton>(answer))) {
            return;
        }
        timer.stop();
        settle();
        seenTitle = box->windowTitle();
        seenText = box->text();
        try {
            picture(pictureName);
        } catch (const TourFailure& pictureFailure) {
            failure = pictureFailure;
        }
        QTest::mouseClick(box->button(static_cast<QMessageBox::StandardButton>(answer)), Qt::LeftButton);
    });
    timer.start(20);
    action();
    waitFor([&] { return !timer.isActive(); }, QStringLiteral("A message box \"%1\" appears.").arg(title), 5000);
    settle();
    if (failure) {
        throw *failure;
    }
    expect(seenTitle == title && seenText.contains(text),
           QStringLiteral("The message box \"%1\" says \"%2\" (it was \"%3\": \"%4\").")
               .arg(title, text, seenTitle, seenText));
}

} // namespace Tessaly
