#pragma once

class QMainWindow;

namespace Tessaly {

class BatchPlanController;
class ColorMapSetting;
class DatasetController;
class DockLayout;
class ServicesController;
class SessionController;
class SessionNotices;
class ExportController;
class ToolWindows;
struct MainPanels;

/// What the entries of the main menu act on.
struct MainMenuTargets {
    QMainWindow& window;
    const MainPanels& panels;
    ColorMapSetting& colorMap;
    DatasetController& datasets;
    ExportController& exports;
    ToolWindows& tools;
    SessionController& sessions;
    BatchPlanController& batchPlans;
    const SessionNotices& news;
    ServicesController& services;
    DockLayout& layout;
};

/// Fills the window's menu bar.
void buildMainMenu(const MainMenuTargets& targets);

} // namespace Tessaly
