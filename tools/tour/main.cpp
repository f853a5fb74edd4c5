#include "Tour.h"
#include "TourSteps.h"

#include "app/SafeApplication.h"
#include "app/Startup.h"
#include "io/VQDReader.h"
#include "ui/MainWindow.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QMessageBox>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using namespace Tessaly;

// The factor must be known before there is an application.
void applyScale(int argc, char** argv) {
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "--scale") == 0) {
            qputenv("QT_SCALE_FACTOR", argv[i + 1]);
        }
    }
}

QSize windowSize(const QString& text) {
    const QStringList parts = text.split(QLatin1Char('x'));
    return parts.size() == 2 ? QSize(parts[0].toInt(), parts[1].toInt()) : QSize();
}

// A dialog that no step expects would keep the tour waiting for ever.
void watchForDialogs(QTimer& timer) {
    constexpr int patience = 15;
    QObject::connect(&timer, &QTimer::timeout, &timer, [seconds = 0]() mutable {
        const QWidget* dialog = QApplication::activeModalWidget();
        seconds = dialog ? seconds + 1 : 0;
        if (seconds > patience) {
            const auto* box = qobject_cast<const QMessageBox*>(dialog);
            std::fprintf(stderr, "tessaly_tour: nobody expects the dialog \"%s\": %s\n",
                         qPrintable(dialog->windowTitle()), box ? qPrintable(box->text()) : "");
            std::_Exit(1);
        }
    });
    timer.start(1000);
}

int walk(Tour& tour) {
    for (const auto& part :
         {batchRefusalSteps(), loadingSteps(), plotSteps(), eventSteps(), datasetSteps(), combineSteps(), matrixSteps(),
          gallerySteps(), gateSteps(), calculationSteps(), exportSteps(), batchSteps(), serviceSteps(), windowSteps(),
          sessionSteps(), statisticsSteps()}) {
        for (const TourStep& step : part) {
            try {
                step.run(tour);
                tour.picture(step.name);
            } catch (const std::exception& failure) {
                tour.picture("failed-" + step.name);
                std::fprintf(stderr, "tessaly_tour: step \"%s\" failed: not so: %s\n", qPrintable(step.name),
                             failure.what());
                return 1;
            }
        }
    }
    std::printf("%d pictures\n", tour.pictureCount());
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    applyScale(argc, argv);
    initializeHdf5();
    SafeApplication application(argc, argv);
    // The user's own settings are neither read nor changed.
    const QTemporaryDir settings;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    prepareApplication(application);

    QCommandLineParser parser;
    parser.setApplicationDescription("Uses the program on demo data and takes a picture after every step.");
    parser.addHelpOption();
    parser.addOptions({{"data", "Folder with measurement files.", "folder"},
                       {"output", "Folder for the pictures.", "folder", "tour"},
                       {"size", "Size of the window.", "WxH", "1400x900"},
                       {"scale", "Scale factor of the screen.", "factor", "1"}});
    parser.process(application);
    const QSize size = windowSize(parser.value("size"));
    if (!QFileInfo(parser.value("data")).isDir() || size.isEmpty()) {
        std::fprintf(stderr, "tessaly_tour: --data needs a folder and --size a size such as 1400x900\n");
        return 2;
    }

    QTimer dialogWatch;
    watchForDialogs(dialogWatch);
    MainWindow window;
    connectExceptionReports(application, window);
    window.resize(size);
    window.show();
    if (!QTest::qWaitForWindowExposed(&window)) {
        std::fprintf(stderr, "tessaly_tour: the window does not appear\n");
        return 1;
    }
    try {
        Tour tour(window, QFileInfo(parser.value("data")).absoluteFilePath(), parser.value("output"));
        return walk(tour);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "tessaly_tour: not so: %s\n", failure.what());
        return 1;
    }
}
