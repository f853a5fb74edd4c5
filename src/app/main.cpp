#include "app/Log.h"
#include "app/SafeApplication.h"
#include "app/Startup.h"
#include "io/VQDReader.h"
#include "ui/MainWindow.h"

#include <QPixmap>
#include <QSplashScreen>
#include <QTimer>

namespace {

constexpr int splashMilliseconds = 1500;

} // namespace

int main(int argc, char** argv) {
    Tessaly::initializeHdf5();
    Tessaly::initLogging();
    Tessaly::SafeApplication application(argc, argv);
    Tessaly::prepareApplication(application);

    const QPixmap logo(QStringLiteral(":/Logo_Orvane_rgb_randlos.png"));
    QSplashScreen splash(logo);
    splash.show();
    QCoreApplication::processEvents();

    Tessaly::MainWindow window;
    Tessaly::connectExceptionReports(application, window);
    QTimer::singleShot(splashMilliseconds, &window, [&splash, &window] {
        splash.close();
        window.show();
        Tessaly::openNamedFiles(window, QCoreApplication::arguments().mid(1));
    });
    return application.exec();
}
