#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

namespace Tessaly {

struct DatasetEntry;

/// What of a session helps to understand a fault: counts, settings of the measurements, rules and calculations. Neither
/// paths nor names of datasets, and of the metadata everything but the names of the samples.
/// @param plotReduced  a filter or missing values keep events from the plot
/// User interface thread.
QString sessionSummary(const std::vector<std::unique_ptr<DatasetEntry>>& datasets, bool plotReduced);

/// What a report is made of. Texts are taken as they are: who fills this in has hidden what mustn't be told
/// (services/PrivateTexts.h).
struct FeedbackContents {
    QString version;
    QString summary; ///< see sessionSummary()
    QString errorTitle;
    QString errorMessage;
    QString comment; ///< of the user
    QString log;     ///< one line each
};

/// The report as UTF-8, with the time of the call and the name of the system. Sections without contents are left out,
/// but for the session and the log, which say that they are empty.
QByteArray feedbackReport(const FeedbackContents& contents);

} // namespace Tessaly
