#include "app/Startup.h"

#include "app/Log.h"
#include "app/SafeApplication.h"
#include "app/Theme.h"
#include "services/Deployment.h"
#include "ui/MainWindow.h"
#include "widgets/WheelGuard.h"

#include <QApplication>
#include <QFileInfo>
#include <QIcon>
#include <QLocale>
#include <QUrl>

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
    application.setApplicationVersion(programVersion());
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
    window.services().setRecentLog(recentLogText);
}

void openNamedFiles(MainWindow& window, const QStringList& arguments) {
    QList<QUrl> urls;
    for (const QString& argument : arguments) {
        if (QFileInfo::exists(argument)) {
            urls.append(QUrl::fromLocalFile(QFileInfo(argument).absoluteFilePath()));
        }
    }
    if (!urls.isEmpty()) {
        window.openUrls(urls);
    }
}

} // namespace Tessaly
