#pragma once

#include "PlotFixture.h"

#include "session/filters/FilterGroups.h"
#include "support/FilterRules.h"
#include "ui/filters/FilterGroupWidget.h"
#include "ui/filters/RuleRow.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QSignalSpy>

namespace Tessaly {

/// The filter dock over a session, worked with mouse and keys.
class FilterFixture : public PlotFixture {
protected:
    FilterFixture() {
        QObject::connect(&controller, &PlotController::frameChanged,
                         [this] { filterController.showCounts(controller); });
    }

    /// Rows that are shown below a widget, in order.
    static QList<RuleRow*> rowsOf(const QWidget* parent) {
        QCoreApplication::sendPostedEvents(); // new rows are shown with the next round
        QList<RuleRow*> rows = parent->findChildren<RuleRow*>();
        rows.removeIf([](const RuleRow* row) { return row->isHidden(); });
        return rows;
    }
    /// A row of the dataset's own rules.
    RuleRow* row(int index) { return rowsOf(find<QWidget>("ruleRows")).value(index); }
    QList<FilterGroupWidget*> groups() {
        QCoreApplication::sendPostedEvents();
        QList<FilterGroupWidget*> groups = filters.findChildren<FilterGroupWidget*>();
        groups.removeIf([](const FilterGroupWidget* group) { return group->isHidden(); });
        return groups;
    }
    RuleRow* groupRow(int group, int index) { return rowsOf(groups().at(group)).value(index); }

    template <typename T>
    static T* part(const QWidget* of, const char* name) {
        T* found = of->findChild<T*>(name);
        EXPECT_NE(found, nullptr) << name;
        return found;
    }

    /// Clicks a button or the box of a check box.
    static void click(const QWidget* of, const char* name) {
        auto* button = part<QAbstractButton>(of, name);
        ASSERT_TRUE(button->isEnabled() && !button->isHidden()) << name;
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
    }
    void click(const char* name) { click(&filters, name); }

    /// Types a number, key by key, and leaves the field.
    static void type(const QWidget* of, const char* name, const char* number) {
        auto* box = part<QDoubleSpinBox>(of, name);
        ASSERT_TRUE(box->isEnabled()) << name;
        box->setFocus();
        box->selectAll();
        QTest::keyClicks(box, number);
        QTest::keyClick(box, Qt::Key_Tab);
    }
    static QString textOf(const QWidget* of, const char* name) { return part<QAbstractButton>(of, name)->text(); }
    static bool isMarked(const QWidget* of, const char* name) {
        return part<QWidget>(of, name)->styleSheet().contains("background-color: #a6d7d5");
    }
    QString counts() { return find<QLabel>("eventCountLabel")->text(); }

    const Columns four{{"area_um", {10, 20, 30, 40}}, {"deform", {0.1, 0.2, 0.3, 0.4}}};
    QSignalSpy refreshed{&controller, &PlotController::plotted};
};

} // namespace Tessaly
