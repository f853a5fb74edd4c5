#include "session/document/SessionRestore.h"

#include "io/VQDReader.h"
#include "session/Session.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSignalBlocker>

#include <unordered_map>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::SessionRestore)
};

/// Entries by id, for sessions of any size.
std::unordered_map<int, DatasetEntry*> entriesById(const Session& session) {
    std::unordered_map<int, DatasetEntry*> entries;
    for (const auto& entry : session.datasets()) {
        entries[entry->id] = entry.get();
    }
    return entries;
}

void applyDataset(const SessionDataset& saved, DatasetEntry& entry, SessionNotices& notices) {
    const bool renamed = entry.displayName != saved.displayName;
    const bool plottedOtherwise = entry.plotSettings() != saved;
    entry.displayName = saved.displayName;
    entry.setPlotSettings(saved);
    entry.currentEventIndex = saved.currentEventIndex;
    entry.flRefinementApplied = saved.flRefinementApplied;
    entry.ctcApplied = saved.ctcApplied;
    entry.emodApplied = saved.emodApplied;
    entry.ctcChannels = saved.ctcChannels;
    entry.spilloverMatrix.clear();
    const auto width = static_cast<std::ptrdiff_t>(saved.ctcChannels.size());
    for (auto row = saved.spilloverMatrix.begin(); row != saved.spilloverMatrix.end(); row += width) {
        entry.spilloverMatrix.emplace_back(row, row + width);
    }
    entry.filter = saved.filter;
    entry.groupEnabled.clear();
    for (const auto& [id, enabled] : saved.groupEnabled) {
        entry.groupEnabled[id] = enabled;
    }
    if (renamed) {
        emit notices.datasetRenamed(entry.id);
    }
    if (plottedOtherwise) {
        emit notices.plotSettingsChanged(entry.id);
    }
}

} // namespace

std::vector<SessionFile> filesOf(const SessionDocument& document, const QString& sessionPath) {
    std::vector<SessionFile> files;
    for (std::size_t i = 0; i < document.datasets.size(); ++i) {
        const SessionDataset& dataset = document.datasets[i];
        if (!dataset.isObject || dataset.isDuplicate) {
            continue;
        }
        const QString path = resolvedPath(dataset.filePath, sessionPath);
        files.push_back({static_cast<int>(i), path, QFileInfo(path).isFile()});
    }
    return files;
}

QString missingFileQuestion(const QString& path, const QString& displayName) {
    return Texts::tr("Cannot find dataset:\n%1\n\nDisplay name: %2\n\nWould you like to locate it manually?")
        .arg(path, displayName);
}

QString changedFileQuestion(const SessionDataset& saved, const Fingerprint& found) {
    const Fingerprint& expected = saved.fingerprint;
    return Texts::tr("Dataset \"%1\" may have changed since the session was saved.\n\n"
                     "Expected: %2 events, %3 bytes\nFound: %4 events, %5 bytes\n\nContinue loading this dataset?")
        .arg(saved.displayName, QString::number(expected.eventCount), QString::number(expected.fileSize),
             QString::number(found.eventCount), QString::number(found.fileSize));
}

std::optional<Fingerprint> fingerprintOfFile(const QString& path, const FileProbing& probing) {
    VQDReader reader;
    if (!mayBeOpened(path, probing) || !reader.open(path.toStdString())) {
        return std::nullopt;
    }
    return fingerprintOf(reader, path);
}

void restoreDuplicates(Session& session, const SessionDocument& document, DatasetNumbers& indexToId) {
    std::unordered_map<int, DatasetEntry*> entries = entriesById(session);
    QSignalBlocker once(session.notices()); // the list is told of when all are there
    for (std::size_t i = 0; i < document.datasets.size(); ++i) {
        const SessionDataset& saved = document.datasets[i];
        const auto original = indexToId.find(saved.duplicateOfIndex);
        if (!saved.isDuplicate || original == indexToId.end()) {
            continue;
        }
        const auto found = entries.find(original->second);
        if (found == entries.end() || !found->second->reader) {
            continue;
        }
        const DatasetEntry& source = *found->second;
        auto copy = session.newEntry();
        copy->reader = source.reader;
        copy->metadata = source.metadata;
        copy->filePath = source.filePath;
        copy->displayName = saved.displayName;
        copy->featuresLoaded = true;
        indexToId[static_cast<int>(i)] = copy->id;
        entries[copy->id] = copy.get();
        session.append(std::move(copy));
    }
    once.unblock();
    std::vector<int> order;
    for (const auto& [index, id] : indexToId) {
        order.push_back(id);
    }
    session.arrange(order);
}

void restoreFilterGroups(Session& session, const SessionDocument& document) {
    session.replaceFilterGroups(document.filterGroups, document.nextGroupId);
}

void restoreDatasets(Session& session, const SessionDocument& document, const DatasetNumbers& indexToId) {
    const std::unordered_map<int, DatasetEntry*> entries = entriesById(session);
    for (const auto& [index, id] : indexToId) {
        const auto found = entries.find(id);
        if (found != entries.end() && index >= 0 && index < static_cast<int>(document.datasets.size())) {
            applyDataset(document.datasets[static_cast<std::size_t>(index)], *found->second, session.notices());
        }
    }
    emit session.notices().groupsChanged();
    emit session.notices().eventsChanged();
}

int restoredActiveId(const Session& session, const SessionDocument& document, const DatasetNumbers& indexToId) {
    const auto active = indexToId.find(document.activeDatasetIndex);
    if (active != indexToId.end() && session.findById(active->second)) {
        return active->second;
    }
    const DatasetEntry* first = session.datasetAt(0);
    return first ? first->id : -1;
}

int restoreSession(Session& session, SessionLoad& load) {
    restoreDuplicates(session, load.document, load.indexToId);
    restoreFilterGroups(session, load.document);
    restoreDatasets(session, load.document, load.indexToId);
    return restoredActiveId(session, load.document, load.indexToId);
}

} // namespace Tessaly
