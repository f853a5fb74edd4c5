#pragma once

#include <QApplication>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace Tessaly {

/// Runs all tests with an application object. Settings and caches are the run's own, so that neither the user's
/// settings nor an earlier run have a say.
/// @return exit code
inline int runWidgetTests(int argc, char** argv) {
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

} // namespace Tessaly
