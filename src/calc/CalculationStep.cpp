#include "calc/CalculationStep.h"

#include "core/ErrorReport.h"

namespace Tessaly {

void reportUnreadable(const std::string& engine, const std::string& what, const StepResult& result,
                      const std::string& path) {
    if (result.unreadable == 0) {
        return;
    }
    std::string line =
        engine + ": " + std::to_string(result.unreadable) + " " + what + " of " + path + " could not be used";
    if (!result.firstProblem.empty()) {
        line += ", the first one: " + result.firstProblem;
    }
    reportError(line);
}

} // namespace Tessaly
