#pragma once

#include <QString>

#include <exception>

namespace Tessaly {

class Session;
struct DatasetEntry;

/// Appends the limits that the instrument applied during the measurement to a dataset's own rules: of the metadata
/// section "online_filter" every "<feature> soft limit" that is "1", as a range from "<feature> min" to
/// "<feature> max", and every "<x>,<y> soft limit" that is "1", as the first polygon stored for that pair in the same
/// section, on linear axes. In ascending order of the keys; a limit whose bounds or polygon are missing adds nothing.
/// Rules that were there stay, so that a second import adds them again. Switches the dataset's filtering on if a rule
/// was added; its combine mode stays.
///
/// Bounds are read in the C locale whatever the user's; white space around them is allowed, anything else is not.
/// @return number of rules added
/// @throws std::invalid_argument for a bound that is no number or too large for one. Rules added before stay.
int importSoftLimits(DatasetEntry& entry);

/// What an import did.
struct SoftLimitImport {
    int added = 0; ///< rules, over all datasets
    std::exception_ptr
        failure;    ///< why it ended early; the rules counted above stay. To be rethrown, when they are shown
    QString remark; ///< to be shown in an information box; empty if rules were added or the import failed
};

/// Imports the soft limits of the active dataset, or of all in the order of the list. The first bound that is no number
/// ends it. Tells eventsChanged() once if rules were added.
SoftLimitImport importMeasurementFilters(Session& session, bool toAll);

} // namespace Tessaly
