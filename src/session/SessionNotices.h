#pragma once

#include <QObject>

namespace Tessaly {

/// The news of a session. Who changes something says so here; who shows something listens; neither knows the other.
/// Everything has changed already when a signal goes out. User interface thread only.
class SessionNotices : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

signals:
    /// All datasets and groups are about to go, while they still stand: windows over them close.
    void aboutToClear();
    /// Datasets were added, removed or reordered.
    void datasetsChanged();
    void datasetRenamed(int id);
    /// The dataset is out of the list; its record lives until the signal has gone round.
    void datasetRemoved(int id);
    /// All columns of a dataset are cached for the first time: it may be shown.
    void datasetReady(int id);
    /// Another dataset is active, -1 for none. Records that have left the list live until the signal has gone round.
    void activeChanged(int id);
    /// A dataset is to be plotted differently: features, scales or contours.
    void plotSettingsChanged(int id);
    /// Filter groups were added, removed, renamed, or switched for a dataset, or their rules have changed.
    void groupsChanged();
    /// Columns of a dataset were added or replaced.
    void columnsChanged(int id);
    /// Other events may pass: filters or the rules of groups have changed. What is plotted has to be drawn anew.
    void eventsChanged();
    void colorMapChanged(int index);
    /// The user has set other conditions for moduli: isoelastic lines lie elsewhere.
    void conditionsChanged();
    /// Datasets are to be listed differently: plain or by folder, or with another number of folder levels.
    void folderViewChanged();
};

} // namespace Tessaly
