#include "calc/CalculationStep.h"

#include <gtest/gtest.h>

#include <string>

namespace Tessaly {
namespace {

TEST(CalculationStep, OneLineTellsOfUnreadableEventsIfThereWereAny) {
    const auto told = [](std::size_t unreadable, const std::string& firstProblem) {
        StepResult result;
        result.unreadable = unreadable;
        result.firstProblem = firstProblem;
        testing::internal::CaptureStderr();
        reportUnreadable("FourierDeform", "masks", result, "a.vqd");
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(told(0, ""), "");
    EXPECT_EQ(told(2, ""), "FourierDeform: 2 masks of a.vqd could not be used\n");
    EXPECT_EQ(told(3, "it is empty"),
              "FourierDeform: 3 masks of a.vqd could not be used, the first one: it is empty\n");
}

} // namespace
} // namespace Tessaly
