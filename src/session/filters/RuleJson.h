#pragma once

#include "core/FilterRule.h"

#include <QJsonObject>

namespace Tessaly {

/// A rule as an object of a group or session file; every key is written for every type. Finite values come back bit for
/// bit (save the sign of a zero). JSON has no infinities: they become the largest finite value of their sign, which as
/// a bound lets the same finite values through. A NaN becomes null.
QJsonObject ruleToJson(const FilterRule& rule);

/// Reads a rule. A key that is missing, or has a value of the wrong type, leaves the default that a new rule has; a
/// corner counts only if it begins with two numbers. Never fails.
FilterRule ruleFromJson(const QJsonObject& object);

} // namespace Tessaly
