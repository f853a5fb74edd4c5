#pragma once

#include <QStringList>

namespace Tessaly {

/// Exit codes of the program.
namespace ExitCode {
inline constexpr int Done = 0;
inline constexpr int Failed = 1; ///< this file can't be done, or a result can't be written
inline constexpr int Usage = 2;
} // namespace ExitCode

/// The program's commands. Each takes its command line, the program's name first and then its own, and returns the exit
/// code. What they find goes to the standard output, what goes wrong to the standard error stream, with the file's
/// name.
int runCommand(const QStringList& arguments);
int planCommand(const QStringList& arguments);
int mergeCommand(const QStringList& arguments);
int listCommand(const QStringList& arguments);

/// Takes the command line to its command, or tells of the program itself.
int batchMain(const QStringList& arguments);

} // namespace Tessaly
