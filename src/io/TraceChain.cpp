#include "io/TraceChain.h"

namespace Tessaly {

const std::string* TraceChain::sourceOf(const std::string& name) const {
    const auto found = sources_.find(name);
    return found == sources_.end() ? nullptr : &found->second;
}

void TraceChain::setProcessing(const TraceProcessing& processing) {
    processing_ = processing;
    last_.reset();
}

std::vector<float> TraceChain::filtered(const std::string& alias, std::size_t index,
                                        const std::function<std::vector<float>()>& readSource) {
    if (!last_ || last_->name != alias || last_->index != index) {
        last_ = FilteredTrace{alias, index, filteredTrace(readSource(), processing_)};
    }
    return last_->samples;
}

} // namespace Tessaly
