#pragma once

#include "io/TraceFilters.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tessaly {

/// What a reader knows of filtered traces: their names, the filters, and the last one, because several views ask for
/// the same one in a row. Internal to the io layer; the caller holds hdf5Mutex().
class TraceChain {
public:
    void addAlias(const std::string& alias, const std::string& source) { sources_[alias] = source; }

    /// The stored trace behind an alias; null for any other name.
    const std::string* sourceOf(const std::string& name) const;

    /// Sets the filters and forgets the last trace.
    void setProcessing(const TraceProcessing& processing);

    /// An event's filtered trace under an alias, kept from the last call or made of what `readSource` gives.
    std::vector<float> filtered(const std::string& alias, std::size_t index,
                                const std::function<std::vector<float>()>& readSource);

private:
    struct FilteredTrace {
        std::string name;
        std::size_t index = 0;
        std::vector<float> samples;
    };

    std::unordered_map<std::string, std::string> sources_; ///< alias to stored trace
    TraceProcessing processing_;
    std::optional<FilteredTrace> last_;
};

} // namespace Tessaly
