#include <QApplication>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// Settings go to a folder of the run's own, so that neither the user's settings nor an earlier run have a say.
int main(int argc, char** argv) {
    QStandardPaths::setTestModeEnabled(true);
    const QTemporaryDir settings;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("TessalyTest"));
    QCoreApplication::setApplicationName(QStringLiteral("TessalyTest"));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
