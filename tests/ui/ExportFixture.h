#pragma once

#include "WindowFixture.h"

#include "io/VQDReader.h"
#include "support/FilterRules.h"
#include "support/Tools.h"
#include "ui/files/ExportDialog.h"
#include "ui/files/ExportProgress.h"
#include "ui/files/StatSummaryExportDialog.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>

namespace Tessaly {

/// The main window with datasets and a user who answers the dialogs behind the entries of the menu "Export".
class ExportFixture : public WindowFixture {
protected:
    void SetUp() override {
        WindowFixture::SetUp();
        QObject::connect(&user_, &QTimer::timeout, [this] { answer(); });
    }

    DatasetEntry& load(const std::string& name, const SampleFileOptions& options = {}) {
        return openAndWait(sample(name, options));
    }
    DatasetEntry& load(const std::string& name, const std::map<std::string, std::vector<double>>& columns,
                       bool pictures = false) {
        SampleFileOptions options;
        options.images = options.masks = options.traces = pictures;
        options.defaultColumns = false;
        options.columns = columns;
        options.events = columns.begin()->second.size();
        return load(name, options);
    }
    DatasetEntry& open(const QString& file) { return openAndWait(path(file)); }

    /// Takes an entry of the menu with the mouse and waits until all dialogs behind it are closed.
    void choose(const char* actionName) {
        user_.start(0);
        WindowFixture::choose(actionName);
        user_.stop();
    }

    /// Does something that brings up a file dialog, and answers that with a name; an empty one cancels.
    void answerFileDialogs(const QString& name, const std::function<void()>& act) {
        fileName = name;
        user_.start(0);
        act();
        user_.stop();
    }

    static void click(QWidget& of, const QString& name) {
        auto* button = of.findChild<QAbstractButton*>(name);
        ASSERT_TRUE(button) << name.toStdString();
        ASSERT_TRUE(button->isEnabled() && button->isVisible()) << name.toStdString();
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
    }
    static void clickAll(QWidget& of, const QStringList& names) {
        for (const QString& name : names) {
            click(of, name);
        }
    }
    static void type(QWidget& of, const char* name, const QString& text) {
        auto* field = of.findChild<QLineEdit*>(name);
        ASSERT_TRUE(field && field->isEnabled()) << name;
        field->selectAll();
        QTest::keyClicks(field, text);
    }

    QStringList written() const { return QDir(path("")).entryList({"TSYexport_*"}, QDir::Files, QDir::Name); }
    /// Boxes shown since the last call: title and text, one behind the other.
    std::string told() { return joined(std::exchange(told_, {})); }
    static std::string joined(const QStringList& texts) { return texts.join(" | ").toStdString(); }

    /// What the user does in each dialog before "Export" is pressed; null cancels.
    std::function<void(ExportDialog&)> inExport = [](ExportDialog&) {};
    std::function<void(StatSummaryExportDialog&)> inSummary = [](StatSummaryExportDialog&) {};
    std::function<void(ExportProgress&)> inProgress = [](ExportProgress&) {};
    QString fileName; ///< for file dialogs; empty cancels
    QStringList progressTexts;

private:
    template <typename Dialog>
    void answer(Dialog& dialog, const std::function<void(Dialog&)>& act) {
        if (!act) {
            QTest::keyClick(&dialog, Qt::Key_Escape);
            return;
        }
        act(dialog);
        click(dialog, "exportButton");
    }

    void answer() {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            told_ << box->windowTitle() << box->text();
            box->button(QMessageBox::Ok)->click();
        } else if (auto* exports = qobject_cast<ExportDialog*>(modal)) {
            answer(*exports, inExport);
        } else if (auto* summary = qobject_cast<StatSummaryExportDialog*>(modal)) {
            answer(*summary, inSummary);
        } else if (auto* files = qobject_cast<QFileDialog*>(modal)) {
            answerFileDialog(*files);
        } else if (auto* progress = qobject_cast<ExportProgress*>(modal)) {
            if (progressTexts.isEmpty() || progressTexts.back() != progress->labelText()) {
                progressTexts << progress->labelText();
                inProgress(*progress);
            }
        }
    }

    void answerFileDialog(QFileDialog& dialog) {
        if (fileName.isEmpty()) {
            dialog.reject();
            return;
        }
        dialog.findChild<QLineEdit*>("fileNameEdit")->setText(fileName);
        QMetaObject::invokeMethod(&dialog, "accept");
    }

    QTimer user_;
    QStringList told_;
};

} // namespace Tessaly
