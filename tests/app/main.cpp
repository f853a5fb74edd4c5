#include "app/SafeApplication.h"
#include "app/Startup.h"

#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// Settings and caches of the run's own: the user's are neither read nor changed.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QStandardPaths::setTestModeEnabled(true);
    const QTemporaryDir settings;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    ::testing::InitGoogleTest(&argc, argv);
    Tessaly::SafeApplication application(argc, argv);
    Tessaly::prepareApplication(application);
    return RUN_ALL_TESTS();
}
