#pragma once

#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"
#include "ui/MainWindow.h"

#include <QAction>
#include <QApplication>
#include <QDropEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QSettings>
#include <QTest>
#include <QThreadPool>
#include <QUrl>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace Tessaly {

/// The main window as it is for a new user, and a folder for measurement files.
class WindowFixture : public testing::Test {
protected:
    void SetUp() override {
        QSettings().clear();
        makeWindow();
    }
    void TearDown() override {
        window.reset();
        QThreadPool::globalInstance()->waitForDone();
    }
    void makeWindow() {
        window.reset();
        window = std::make_unique<MainWindow>();
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }

    QString path(const QString& name) const { return QString::fromStdString(folder.file(name.toStdString())); }
    /// Writes the file NAME.vqd of a sample NAME.
    QString sample(const std::string& name, SampleFileOptions options = {}) const {
        options.sample = name;
        writeSampleFile(folder.file(name + ".vqd"), options);
        return QString::fromStdString(folder.file(name + ".vqd"));
    }
    bool waitUntilLoaded(std::size_t count) const {
        const auto loaded = [](const auto& entry) { return entry->featuresLoaded; };
        return QTest::qWaitFor(
            [&] { return window->datasets().size() == count && std::ranges::all_of(window->datasets(), loaded); },
            20000);
    }
    /// Opens a file, waits until it is loaded, and gives the last dataset.
    DatasetEntry& openAndWait(const QString& file) {
        const std::size_t before = window->datasets().size();
        window->openDataset(file);
        EXPECT_TRUE(waitUntilLoaded(before + 1)) << file.toStdString();
        return *window->datasets().back();
    }

    void drop(const QStringList& files) {
        QMimeData data;
        QList<QUrl> urls;
        for (const QString& file : files) {
            urls << QUrl::fromLocalFile(file);
        }
        data.setUrls(urls);
        QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window.get(), &enter);
        EXPECT_TRUE(enter.isAccepted());
        QDropEvent event(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window.get(), &event);
    }
    /// Takes an entry of the menu bar with the mouse.
    void choose(const char* actionName) {
        QMenuBar* bar = window->menuBar();
        auto* entry = window->findChild<QAction*>(QLatin1String(actionName));
        ASSERT_TRUE(entry) << actionName;
        for (QAction* title : bar->actions()) {
            if (QMenu* menu = title->menu(); menu && menu->actions().contains(entry)) {
                QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(title).center());
                ASSERT_TRUE(menu->isVisible());
                QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(entry).center());
                return;
            }
        }
        FAIL() << actionName << " is in no menu";
    }

    TemporaryFolder folder;
    std::unique_ptr<MainWindow> window;
};

} // namespace Tessaly
