#pragma once

class QMainWindow;

namespace Tessaly {

class ColorMapSetting;
class DatasetController;
class SessionController;
class SessionNotices;
class ToolWindows;
struct MainPanels;

/// What the entries of the main menu act on.
struct MainMenuTargets {
    QMainWindow& window;
    const MainPanels& panels;
    ColorMapSetting& colorMap;
    DatasetController& datasets;
    ToolWindows& tools;
    SessionController& sessions;
    const SessionNotices& news;
};

/// Fills the window's menu bar.
void buildMainMenu(const MainMenuTargets& targets);

} // namespace Tessaly
