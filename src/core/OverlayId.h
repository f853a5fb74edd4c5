#pragma once

namespace Tessaly {

/// Numbers that tell the polygon gates on a plot apart. A rule of the dataset's own list has its index. Rules of groups
/// are numbered behind: a group may hold up to 10000 rules before they clash with those of the next.
struct OverlayId {
    static constexpr int GroupOffset = 100;
    static constexpr int RulesPerGroup = 10000;

    int groupId = -1; ///< -1 for the dataset's own rules
    int ruleIndex = -1;

    constexpr int number() const {
        return groupId < 0 ? ruleIndex : (groupId + GroupOffset) * RulesPerGroup + ruleIndex;
    }
    static constexpr OverlayId of(int number) {
        constexpr int First = GroupOffset * RulesPerGroup;
        return number < First ? OverlayId{-1, number}
                              : OverlayId{(number - First) / RulesPerGroup, (number - First) % RulesPerGroup};
    }

    bool operator==(const OverlayId&) const = default;
};

} // namespace Tessaly
