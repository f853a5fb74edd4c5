#include "session/FileProbing.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QProcess>

namespace Tessaly {

namespace {

/// Beside the program; programs that are not installed, such as tests, lie in another folder of the same build.
QString helperProgram() {
    const QDir folder(QCoreApplication::applicationDirPath());
    for (const char* place : {"tessaly_probe", "../bin/tessaly_probe"}) {
        QString path = folder.filePath(QLatin1String(place));
        if (QFileInfo(path).isExecutable()) {
            return path;
        }
    }
    return folder.filePath(QStringLiteral("tessaly_probe"));
}

bool goOnWithout(const QString& path, const QString& reason) {
    qWarning() << "Opening without a look before:" << path << reason;
    return true;
}

bool refuse(const QString& path, const char* reason) {
    qWarning() << "Damaged:" << path << reason;
    return false;
}

} // namespace

bool mayBeOpened(const QString& path, const FileProbing& probing) {
    QProcess helper;
    helper.setProgram(probing.program.isEmpty() ? helperProgram() : probing.program);
    helper.setArguments({QFileInfo(path).absoluteFilePath()}); // never taken for an option
    helper.setStandardInputFile(QProcess::nullDevice());
    helper.setStandardOutputFile(QProcess::nullDevice());
    helper.setStandardErrorFile(QProcess::nullDevice()); // the reader will say the same again
    helper.start();
    if (!helper.waitForStarted()) {
        return goOnWithout(path, helper.errorString());
    }
    if (!helper.waitForFinished(static_cast<int>(probing.timeLimit.count()))) {
        helper.kill();
        helper.waitForFinished();
        return refuse(path, "the look into it took too long");
    }
    if (helper.exitStatus() == QProcess::CrashExit) {
        return refuse(path, "the look into it crashed");
    }
    const int code = helper.exitCode();
    return code == 0 || code == 1 || goOnWithout(path, QStringLiteral("exit code %1").arg(code));
}

} // namespace Tessaly
