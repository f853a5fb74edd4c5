#pragma once

#include <QString>
#include <QtGlobal>

namespace Tessaly {

/// Brings the log up: keeps the ten newest of the old log files in the working directory, names this run's file, and
/// installs logMessageHandler(); failures that lower layers report (core/ErrorReport.h) go to the log from then on,
/// too, as warnings. Called once, first thing in main and before there is an application object, so that logs follow
/// the working directory and not the executable.
void initLogging();

/// Appends one line "time [level] message" to the ring of recent lines and to this run's file, then calls the handler
/// that was installed before. The file is opened and closed for every line, so that a crash loses nothing. Any thread.
void logMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& message);

/// The recent lines, at most 2000, oldest first, each followed by a newline. Any thread.
QString recentLogText();

} // namespace Tessaly
