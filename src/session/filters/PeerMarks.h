#pragma once

#include <vector>

namespace Tessaly {

class Session;

/// Where a rule of the active dataset and its linked copies differ.
struct RuleMarks {
    bool enabledDiffers = false;   ///< a copy is checked and another is not
    bool parametersDiffer = false; ///< bounds, inversion, corners or the axes they were drawn on

    bool operator==(const RuleMarks&) const = default;
};

/// Which of the all-datasets buttons have something to even out.
struct PeerMarks {
    bool filteringDiffers = false;   ///< a peer's filtering is switched otherwise
    bool combineModeDiffers = false; ///< a peer shows the other events
    std::vector<RuleMarks> rules;    ///< one for each of the active dataset's own rules, in order

    bool operator==(const PeerMarks&) const = default;
};

/// Compares the active dataset's filter with those of all others.
///
/// A rule is compared with the first rule of the same, non-empty link in every dataset whose file has the rule's
/// features. NaN differs from everything. The first peer whose copy is checked otherwise ends a rule's comparison, so
/// that peers behind it mark nothing. All marks are off, and the list is empty, without an active dataset.
/// O(datasets x rules^2), user interface thread only.
PeerMarks peerMarks(const Session& session);

} // namespace Tessaly
