#pragma once

#include <QApplication>
#include <QContextMenuEvent>
#include <QListWidget>
#include <QMenu>
#include <QTest>

#include <gtest/gtest.h>

namespace Tessaly {

/// Takes an entry, named by its object name, of the menu that is open, with the keys.
inline void chooseInOpenMenu(const char* action) {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_TRUE(menu);
    do {
        QTest::keyClick(menu, Qt::Key_Down);
    } while (menu->activeAction()->objectName() != action);
    QTest::keyClick(menu, Qt::Key_Return);
    QApplication::processEvents();
}

/// Opens the context menu of a row and takes an entry.
inline void chooseInContextMenu(QListWidget& list, int row, const char* action) {
    const QPoint position = list.visualItemRect(list.item(row)).center();
    QContextMenuEvent event(QContextMenuEvent::Keyboard, position, list.viewport()->mapToGlobal(position));
    QApplication::sendEvent(list.viewport(), &event);
    chooseInOpenMenu(action);
}

inline void clickListRow(QListWidget& list, int row) {
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(list.item(row)).center());
}

} // namespace Tessaly
