#pragma once

#include "session/FileProbing.h"
#include "session/SessionWindow.h"
#include "session/document/SessionDocument.h"

#include <QString>

#include <optional>
#include <vector>

/// From a session document back to a session, step by step. Opening the files stays with the caller, and so do the
/// questions. User interface thread only.
namespace Tessaly {

class Session;

/// A file that a session names.
struct SessionFile {
    int index = -1; ///< session index
    QString path;   ///< absolute
    bool exists = false;

    bool operator==(const SessionFile&) const = default;
};

/// The files to open, in document order: one for each dataset that is no duplicate.
std::vector<SessionFile> filesOf(const SessionDocument& document, const QString& sessionPath);

/// Question for a file that isn't there, titled "Dataset Not Found".
QString missingFileQuestion(const QString& path, const QString& displayName);
/// Question for a file that isn't what it was, titled "Dataset Changed".
QString changedFileQuestion(const SessionDataset& saved, const Fingerprint& found);

/// Opens a file for a moment and looks at it. Nothing if it can't be opened. Costs as much as opening it.
std::optional<Fingerprint> fingerprintOfFile(const QString& path, const FileProbing& probing = {});

/// A session being loaded: what to restore, and which dataset came of which entry. While there is one, a load is under
/// way; it is dropped as a whole when that ends or is given up.
struct SessionLoad {
    SessionDocument document;
    DatasetNumbers indexToId; ///< by session index
};

/// Makes the duplicates whose originals were restored, in document order, adds them to the map, and brings all rows
/// into the order of the document.
void restoreDuplicates(Session& session, const SessionDocument& document, DatasetNumbers& indexToId);
/// Replaces the filter groups.
void restoreFilterGroups(Session& session, const SessionDocument& document);
/// Applies everything that the document keeps of the datasets that are in the map.
void restoreDatasets(Session& session, const SessionDocument& document, const DatasetNumbers& indexToId);
/// The dataset that was selected; the first one if it wasn't restored; -1 without datasets.
int restoredActiveId(const Session& session, const SessionDocument& document, const DatasetNumbers& indexToId);

/// All of these, in this order. Tells of the changes through the session's notices. Returns the id of
/// the dataset to select.
int restoreSession(Session& session, SessionLoad& load);

} // namespace Tessaly
