#include "app/Startup.h"

#include "app/SafeApplication.h"
#include "app/Theme.h"
#include "ui/MainWindow.h"

#include <QApplication>
#include <QIcon>

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
    applyTheme(application);
}

void connectExceptionReports(SafeApplication& application, MainWindow& window) {
    QObject::connect(&application, &SafeApplication::unhandledException, &window, &MainWindow::onUnhandledException,
                     Qt::QueuedConnection);
}

} // namespace Tessaly
