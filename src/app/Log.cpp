#include "app/Log.h"

#include "core/ErrorReport.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>

#include <deque>
#include <mutex>

namespace Tessaly {

namespace {

constexpr std::size_t longestRing = 2000;
constexpr qsizetype oldLogsKept = 10;

struct LogState {
    std::mutex mutex;
    std::deque<QString> lines;
    QString filePath; // empty until initLogging() has run
    QtMessageHandler previousHandler = nullptr;
};

/// Never destroyed: messages still come while the process's other statics go.
LogState& logState() {
    static auto* state = new LogState;
    return *state;
}

QString levelWord(QtMsgType type) {
    switch (type) {
    case QtDebugMsg:
        return QStringLiteral("DEBUG");
    case QtWarningMsg:
        return QStringLiteral("WARN ");
    case QtCriticalMsg:
        return QStringLiteral("ERROR");
    case QtFatalMsg:
        return QStringLiteral("FATAL");
    case QtInfoMsg:
        return QStringLiteral("INFO ");
    }
    return QStringLiteral("?????");
}

QString currentTime() {
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
}

void appendToFile(const QString& path, const QString& line) {
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
        file.write((line + QLatin1Char('\n')).toUtf8());
    }
}

/// @return the handler that was installed before ours
QtMessageHandler appendLine(QtMsgType type, const QString& message) {
    // The texts go in at once, so that a "%1" in the message stays as it is.
    const QString line = QStringLiteral("%1 [%2] %3").arg(currentTime(), levelWord(type), message);
    LogState& state = logState();
    const std::lock_guard lock(state.mutex);
    state.lines.push_back(line);
    while (state.lines.size() > longestRing) {
        state.lines.pop_front();
    }
    if (!state.filePath.isEmpty()) {
        appendToFile(state.filePath, line);
    }
    return state.previousHandler;
}

/// Not through the message handlers: the line stands on the standard error stream already.
void logReportedError(const std::string& line) {
    appendLine(QtWarningMsg, QString::fromStdString(line));
}

} // namespace

void initLogging() {
    const QDir directory = QDir::current();
    const QStringList oldLogs = directory.entryList({QStringLiteral("Tessaly_log_*.txt")}, QDir::Files, QDir::Time);
    for (const QString& name : oldLogs.mid(oldLogsKept)) {
        QFile::remove(directory.filePath(name));
    }

    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd_hhmmss"));
    LogState& state = logState();
    {
        const std::lock_guard lock(state.mutex);
        state.filePath = directory.absoluteFilePath(QStringLiteral("Tessaly_log_%1.txt").arg(stamp));
        const QtMessageHandler previous = qInstallMessageHandler(logMessageHandler);
        if (previous != logMessageHandler) {
            state.previousHandler = previous;
        }
    }
    setErrorSink(logReportedError);
    qInfo().noquote() << "Tessaly session started" << currentTime();
}

void logMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (const QtMessageHandler previous = appendLine(type, message)) {
        previous(type, context, message);
    }
}

QString recentLogText() {
    LogState& state = logState();
    const std::lock_guard lock(state.mutex);
    QString text;
    for (const QString& line : state.lines) {
        text += line + QLatin1Char('\n');
    }
    return text;
}

} // namespace Tessaly
