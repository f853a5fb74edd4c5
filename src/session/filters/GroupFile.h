#pragma once

#include <QByteArray>
#include <QString>

#include <span>

namespace Tessaly {

class Session;

/// Files of filter groups (".tsyfg"): UTF-8 JSON with the names of groups and their rules. Ids and the datasets'
/// switches are not stored. User interface thread only.

/// What became of an action on a file: one of the texts, ready to be shown.
struct GroupFileOutcome {
    QString failure; ///< for a critical box: nothing was written or imported
    QString remark;  ///< for an information box: there was nothing to import
    QString status;  ///< for the status label: done

    bool operator==(const GroupFileOutcome&) const = default;
};

/// What to show in an information box instead of asking for groups and a file; empty if there are groups to export.
QString checkGroupsToExport(const Session& session);

/// The document that holds these groups, in this order; ids of groups that are gone are skipped.
QByteArray groupDocument(const Session& session, std::span<const int> groupIds);

/// Writes groups to a file. It is written beside the target and takes its place when it is complete: after a failure
/// the old file is what it was.
GroupFileOutcome exportFilterGroups(const Session& session, std::span<const int> groupIds, const QString& path);

/// Adds the groups of a file behind those of the session, with new ids and off for every dataset, or none at all. Told
/// as groupsChanged() and eventsChanged(), once each.
///
/// A group without a name becomes "Imported group"; names may repeat. What is no object in the lists of groups and
/// rules is skipped; values of the wrong type read as defaults, see ruleFromJson(). What is no regular file counts as
/// unreadable, and so does a file beyond what can be of use: 128 MB, 10^4 groups, 10^5 rules, 10^6 corners or
/// 5 * 10^6 keys.
GroupFileOutcome importFilterGroups(Session& session, const QString& path);

} // namespace Tessaly
