#pragma once

#include "MatrixFixture.h"

#include "session/SessionBuilder.h"
#include "tools/statistics/CategoryPanel.h"
#include "tools/statistics/PlotStack.h"
#include "tools/statistics/ResultTableView.h"
#include "tools/statistics/StatisticalEvalWindow.h"
#include "widgets/DatasetDrag.h"

#include <QAction>
#include <QComboBox>
#include <QDropEvent>
#include <QFileDialog>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace Tessaly {

/// Answers every dialog that opens while it lives, one after the other, and remembers what they said.
class DialogAnswers {
public:
    using Answer = std::function<void(QDialog&)>;

    explicit DialogAnswers(std::vector<Answer> answers = {}) : answers_(std::move(answers)) {
        QObject::connect(&timer_, &QTimer::timeout, [this] { look(); });
        timer_.start(5);
        ++alive;
    }
    ~DialogAnswers() { --alive; }

    static inline int alive = 0;
    QStringList seen; ///< titles, with the texts of message boxes

private:
    void look() {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || dialog == last_) {
            return;
        }
        last_ = dialog;
        const auto* box = qobject_cast<QMessageBox*>(dialog);
        seen += dialog->windowTitle() + (box ? ": " + box->text() : QString());
        if (next_ < answers_.size()) {
            answers_[next_++](*dialog);
        } else {
            dialog->reject();
        }
        QTimer::singleShot(0, &timer_, [this] { last_ = nullptr; });
    }

    std::vector<Answer> answers_;
    std::size_t next_ = 0;
    const QDialog* last_ = nullptr;
    QTimer timer_;
};

/// Names a file in a file dialog.
inline DialogAnswers::Answer chooseFile(const QString& path) {
    return [path](QDialog& dialog) {
        dialog.findChild<QLineEdit*>("fileNameEdit")->setText(path);
        QMetaObject::invokeMethod(&dialog, "accept", Qt::QueuedConnection);
    };
}

/// A window of statistics over a session of small files.
class StatisticsFixture : public testing::Test {
protected:
    SessionBuilder builder;
    FolderViewHost host;
    std::unique_ptr<StatisticalEvalWindow> window;

    void open() {
        window = std::make_unique<StatisticalEvalWindow>(builder.session, host);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }

    /// A dataset whose area has this median and whose deformation is the same in all.
    DatasetEntry& addDataset(const QString& name, double area) {
        DatasetEntry& entry = builder.add({{"area_um", {area - 1, area, area + 1}}, {"deform", {0.1, 0.2, 0.3}}});
        builder.session.rename(entry.id, name);
        return entry;
    }
    /// Datasets "A ID1" to "A IDn" with values first, first + 1, ..., put into a category.
    std::vector<int> fill(std::size_t panelNumber, const QString& name, double first, int count) {
        std::vector<int> ids;
        for (int i = 0; i < count; ++i) {
            ids.push_back(addDataset(QStringLiteral("%1 ID%2").arg(name).arg(i + 1), first + i).id);
            drop(ids.back(), panelNumber);
        }
        return ids;
    }
    /// Two categories of samples that don't overlap.
    void fillTwo(int count = 3) {
        fill(0, "A", 10, count);
        fill(1, "B", 20, count);
    }

    CategoryPanel& panel(std::size_t number) const { return *window->categoryPanels().at(number); }
    QListWidget& listOf(std::size_t number) const { return *panel(number).findChild<QListWidget*>("categoryList"); }
    /// Drags a dataset over a panel and lets it go there. Returns whether it was welcome.
    bool drop(int id, std::size_t number) const {
        const std::unique_ptr<QMimeData> data(datasetMimeData(id));
        const QPoint place(10, 10);
        QDragEnterEvent enter(place, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        enter.setAccepted(false);
        QApplication::sendEvent(&panel(number), &enter);
        if (!enter.isAccepted()) {
            return false;
        }
        QDropEvent event(place, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&panel(number), &event);
        return event.isAccepted();
    }
    QStringList namesIn(std::size_t number) const {
        QStringList names;
        for (const CategoryEntry& entry : panel(number).entries()) {
            names += entry.name;
        }
        return names;
    }

    template <typename Widget>
    Widget& control(const char* name) const {
        auto* found = window->findChild<Widget*>(name);
        if (!found) {
            throw std::runtime_error(name);
        }
        return *found;
    }
    void click(const char* name) const {
        QTest::mouseClick(&control<QAbstractButton>(name), Qt::LeftButton, {}, {8, 8});
    }
    /// Adds to the name of a category.
    void typeName(std::size_t number, const QString& text) const {
        auto* field = panel(number).findChild<QLineEdit*>("categoryName");
        QTest::keyClick(field, Qt::Key_End);
        QTest::keyClicks(field, text);
    }
    void clickIn(std::size_t number, const char* name) const {
        QTest::mouseClick(panel(number).findChild<QPushButton*>(name), Qt::LeftButton);
    }
    void choose(const char* combo, int index) const {
        QComboBox& box = control<QComboBox>(combo);
        box.setFocus();
        while (box.currentIndex() != index) {
            QTest::keyClick(&box, box.currentIndex() < index ? Qt::Key_Down : Qt::Key_Up);
        }
    }
    void showTab(int index) const {
        QTabBar* bar = control<QTabWidget>("statisticsTabs").tabBar();
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(index).center());
    }
    /// Clicks features by their rows, with Ctrl from the second on.
    void selectFeatures(const std::vector<int>& rows) const {
        QListWidget& list = control<QListWidget>("featureList");
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const QListWidgetItem* item = list.item(rows[i]);
            list.scrollToItem(item);
            QTest::mouseClick(list.viewport(), Qt::LeftButton, i == 0 ? Qt::NoModifier : Qt::ControlModifier,
                              list.visualItemRect(item).center());
        }
    }
    QString guidance() const { return control<QLabel>("guidance").text(); }

    /// Presses a button that starts a run, and waits for its end.
    void run(const char* button) const {
        std::optional<DialogAnswers> unexpected; // rather than waiting for ever
        if (DialogAnswers::alive == 0) {
            unexpected.emplace();
        }
        click(button);
        EXPECT_TRUE(!unexpected || unexpected->seen.isEmpty()) << unexpected->seen.join(u'\n').toStdString();
        EXPECT_TRUE(QTest::qWaitFor([&] { return control<QPushButton>(button).isEnabled(); }));
    }
    std::size_t plotCount(const char* stack) const { return control<PlotStack>(stack).plots().size(); }
    static QStringList rowsOf(const QTableWidget& table) {
        QStringList rows;
        for (int row = 0; row < table.rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < table.columnCount(); ++column) {
                cells += table.item(row, column)->text();
            }
            rows += cells.join(u'|');
        }
        return rows;
    }
    void trigger(const char* action) const { control<QAction>(action).trigger(); }
};

} // namespace Tessaly
