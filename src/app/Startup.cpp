#include "app/Startup.h"

#include "app/SafeApplication.h"
#include "app/Theme.h"
#include "ui/MainWindow.h"
#include "widgets/WheelGuard.h"

#include <QApplication>
#include <QIcon>
#include <QLocale>

// The macro has to stand outside of any namespace.
static void registerResources() {
    Q_INIT_RESOURCE(resources);
}

namespace Tessaly {

void initResources() {
    registerResources();
}

void prepareApplication(QApplication& application) {
    initResources();
    application.setApplicationName(QStringLiteral("Tessaly"));
    application.setApplicationVersion(QStringLiteral(TESSALY_VERSION));
    application.setOrganizationName(QStringLiteral("Tessaly"));
    application.setWindowIcon(QIcon(QStringLiteral(":/Logo_Orvane_rgb_randlos_keinText.png")));
    // One notation of numbers in the whole program, also on axes and in spin boxes: "0,12" beside "102.036" would be
    // read as a hundred thousand.
    QLocale::setDefault(QLocale::c());
    applyTheme(application);
    WheelGuard::install(application);
}

void connectExceptionReports(SafeApplication& application, MainWindow& window) {
    QObject::connect(&application, &SafeApplication::unhandledException, &window, &MainWindow::onUnhandledException,
                     Qt::QueuedConnection);
}

} // namespace Tessaly
