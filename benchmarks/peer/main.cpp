// One measurement in a fresh process, for scripts/peer_io.py: prints lines "name value", times in ms, memory in KiB.
// usage: tessaly_peer preload|picture|cycles FILE [COUNT]

#include "core/DatasetEntry.h"
#include "core/FeatureCatalogue.h"
#include "io/VQDReader.h"
#include "plot/ScatterPlot.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"
#include "ui/datasets/DatasetsPanel.h"

#include <QApplication>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

void print(const char* name, double value) {
    std::printf("%s %.2f\n", name, value);
}

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// A line of the process's status, such as "VmHWM" (most memory ever) or "VmRSS" (now).
double statusKilobytes(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == key + ":") {
            double value = 0.0;
            status >> value;
            return value;
        }
    }
    throw std::runtime_error("the process's status can't be read");
}

void preload(const std::string& path) {
    const Clock::time_point start = Clock::now();
    Tessaly::VQDReader reader;
    if (!reader.open(path)) {
        throw std::runtime_error("the file can't be opened");
    }
    reader.cacheAllFeatures();
    print("preload", millisecondsSince(start));
    print("peak", statusKilobytes("VmHWM"));
}

/// Sees whether a widget was painted.
class PaintWatch : public QObject {
public:
    explicit PaintWatch(QObject* watched) { watched->installEventFilter(this); }
    bool painted = false;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        painted = painted || event->type() == QEvent::Paint;
        return false;
    }
};

std::unique_ptr<Tessaly::MainWindow> shownWindow() {
    auto window = std::make_unique<Tessaly::MainWindow>();
    window->show();
    QCoreApplication::processEvents();
    return window;
}

/// Until the dataset's plot has been painted.
void openAndPaint(Tessaly::MainWindow& window, const std::string& path) {
    PaintWatch watch(window.panels().plot->canvas());
    window.openDataset(QString::fromStdString(path));
    if (window.datasets().empty()) {
        throw std::runtime_error("the file can't be opened");
    }
    while (!window.datasets().back()->featuresLoaded) {
        watch.painted = false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    while (!watch.painted) {
        QCoreApplication::processEvents();
    }
}

/// From opening a file to the painted plot of two features, and the values of one event.
void picture(const std::string& path) {
    const auto window = shownWindow();
    const Clock::time_point start = Clock::now();
    openAndPaint(*window, path);
    Tessaly::VQDReader& reader = *window->datasets().back()->reader;
    for (const std::string& name : reader.featureNames()) {
        if (Tessaly::isScalarFeature(name) && !reader.valueAt(name, 12)) {
            throw std::runtime_error("a value is missing");
        }
    }
    print("picture", millisecondsSince(start));
}

/// Opens and removes a file again and again in the real window: the most memory over the empty window, and what is
/// left.
void cycles(const std::string& path, int count) {
    const auto window = shownWindow();
    const double empty = statusKilobytes("VmRSS");
    for (int i = 0; i < count; ++i) {
        openAndPaint(*window, path);
        emit window->panels().datasets->removeRequested(window->datasets().back()->id);
        QCoreApplication::processEvents();
        print("left", statusKilobytes("VmRSS") - empty);
    }
    print("peak", statusKilobytes("VmHWM") - empty);
}

} // namespace

int main(int argc, char** argv) try {
    const std::string mode = argc > 2 ? argv[1] : "";
    if (mode == "preload") {
        preload(argv[2]);
        return 0;
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QStandardPaths::setTestModeEnabled(true);
    const QTemporaryDir settings; // nobody's own settings
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    const QApplication application(argc, argv);
    if (mode == "picture") {
        picture(argv[2]);
    } else if (mode == "cycles") {
        cycles(argv[2], argc > 3 ? std::atoi(argv[3]) : 22);
    } else {
        throw std::runtime_error("usage: tessaly_peer preload|picture|cycles FILE [COUNT]");
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "tessaly_peer: %s\n", error.what());
    return 1;
}
