#include <QApplication>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// Settings and caches of the run's own.
int main(int argc, char** argv) {
    QStandardPaths::setTestModeEnabled(true);
    const QTemporaryDir settings;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("TessalyTest"));
    QCoreApplication::setApplicationName(QStringLiteral("TessalyServicesTest"));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
