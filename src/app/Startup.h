#pragma once

class QApplication;

namespace Tessaly {

class MainWindow;
class SafeApplication;

/// Registers the embedded resources. To be called by every program that links this library: a linker drops the
/// initialiser of a static library's resources otherwise. Further calls do nothing.
void initResources();

/// Name, version, organization and window icon, then the look of the program.
void prepareApplication(QApplication& application);

/// Reports of escaped exceptions reach the window after the failed event's delivery has ended.
void connectExceptionReports(SafeApplication& application, MainWindow& window);

} // namespace Tessaly
