#pragma once

#include "core/EventFilter.h"
#include "core/FilterGroup.h"
#include "core/PlotSettings.h"
#include "session/UserMessage.h"
#include "session/document/Fingerprint.h"

#include <QByteArray>
#include <QJsonArray>
#include <QString>

#include <optional>
#include <utility>
#include <vector>

namespace Tessaly {

class Session;

/// What a session file keeps of one dataset.
struct SessionDataset : PlotSettings {
    bool isObject = true; ///< false for an entry of the file that is no object: it only keeps its place
    QString filePath;     ///< relative to the session file where that leads to the file, else absolute
    QString displayName;
    int currentEventIndex = -1;
    bool flRefinementApplied = false;
    bool ctcApplied = false;
    bool emodApplied = false;
    std::vector<int> ctcChannels;
    std::vector<double> spilloverMatrix; ///< row after row
    bool isDuplicate = false;
    int duplicateOfIndex = -1; ///< the first entry that shares the reader
    Fingerprint fingerprint;
    EventFilter filter;
    std::vector<std::pair<int, bool>> groupEnabled; ///< by rising id

    bool operator==(const SessionDataset&) const = default;
};

/// The contents of a session file as a value. A dataset's position is its session index: windows refer to it by that.
struct SessionDocument {
    static constexpr int currentVersion = 1;

    int version = currentVersion;
    QString savedAt; ///< UTC, ISO 8601
    int activeDatasetIndex = 0;
    int colorMapIndex = 0;
    bool expertMode = false;
    std::vector<SessionDataset> datasets;
    std::vector<FilterGroup> filterGroups;
    int nextGroupId = 0;
    QJsonArray combineWindows; ///< objects that the windows make and take themselves
    QJsonArray statEvalWindows;
};

/// A session file that was read, or why it can't be used.
struct SessionReading {
    SessionDocument document;
    std::optional<UserMessage> error;   ///< nothing can be restored
    std::optional<UserMessage> warning; ///< of a newer version; to be told before going on
};

/// The document for what is loaded now, to be stored at a path. The windows' objects are left to the caller.
/// User interface thread only; looks at every file on the disk.
SessionDocument captureSession(const Session& session, const QString& sessionPath, int colorMapIndex);

/// The document as indented JSON.
QByteArray sessionToJson(const SessionDocument& document);
/// Reads JSON of any shape: what is missing or of the wrong type gets its default, entries of lists that are no objects
/// are passed over.
SessionReading sessionFromJson(const QByteArray& json);

/// Writes a session file. The file is as it was or complete. Returns what to tell the user if that fails.
std::optional<UserMessage> writeSessionFile(const QString& path, const SessionDocument& document);
SessionReading readSessionFile(const QString& path);

/// The path with ".TSY" behind it unless it ends so already, in any case.
QString withSessionSuffix(const QString& path);

/// How a file is named inside of a session file: relative with forward slashes if that leads to the same file, else
/// absolute.
QString storedPath(const QString& filePath, const QString& sessionPath);
/// The absolute path that a stored one means.
QString resolvedPath(const QString& stored, const QString& sessionPath);

} // namespace Tessaly
