#pragma once

#include <QStringList>

class QApplication;

namespace Tessaly {

class MainWindow;
class SafeApplication;

/// Registers the embedded resources. To be called by every program that links this library: a linker drops the
/// initialiser of a static library's resources otherwise. Further calls do nothing.
void initResources();

/// Name, version, organization and window icon, then the look of the program.
void prepareApplication(QApplication& application);

/// Reports of escaped exceptions reach the window after the failed event's delivery has ended, and feedback reports
/// tell the recent log.
void connectExceptionReports(SafeApplication& application, MainWindow& window);

/// Opens the files and folders among a program's arguments as if they were dropped on the window. Others are ignored.
/// @param arguments  without the program's own name
void openNamedFiles(MainWindow& window, const QStringList& arguments);

} // namespace Tessaly
