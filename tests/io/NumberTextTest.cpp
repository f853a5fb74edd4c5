#include "io/NumberText.h"

#include <gtest/gtest.h>

#include <bit>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

namespace Tessaly {

namespace {

std::string exact(double value) {
    std::string text;
    appendExact(text, value);
    return text;
}

std::string printed(const char* format, double value) {
    char text[400];
    return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, format, value))};
}

/// Numbers of the kinds that columns hold, and others.
double someNumber(std::mt19937_64& random, int kind) {
    switch (kind) {
    case 0:
        return std::bit_cast<double>(random());
    case 1:
        return static_cast<double>(random() % 1'000'000) / 1000.0;
    case 2:
        return static_cast<double>(random() >> (random() % 64));
    case 3:
        return std::ldexp(static_cast<double>(random() >> 11), -static_cast<int>(random() % 110));
    case 4: // next to powers of ten
        return std::pow(10.0, static_cast<int>(random() % 40) - 20) *
               (1.0 + (static_cast<int>(random() % 5) - 2) * 1.2e-16);
    default: // ties of the last digit
        return -std::ldexp(static_cast<double>(random() % (1ULL << 53)), -static_cast<int>(random() % 5) - 1);
    }
}

} // namespace

TEST(NumberText, SeventeenDigitsAsTheCLibraryPrintsThem) {
    std::mt19937_64 random(11);
    for (int i = 0; i < 300'000; ++i) {
        const double value = someNumber(random, i % 6);
        if (std::isfinite(value)) {
            ASSERT_EQ(exact(value), printed("%.17g", value));
        }
    }
    for (const double value : {0.0, -0.0, 1e16, 1e17, 99999999999999999.0, 1e-11, 1e-5, 0.0001, 123456.0, 5e-324,
                               std::numeric_limits<double>::max()}) {
        EXPECT_EQ(exact(value), printed("%.17g", value));
    }
}

TEST(NumberText, NotFinite) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto& [value, text] : std::initializer_list<std::pair<double, const char*>>{
             {nan, "nan"}, {-nan, "nan"}, {HUGE_VAL, "inf"}, {-HUGE_VAL, "-inf"}}) {
        EXPECT_EQ(exact(value), text);
        std::string brief;
        appendShort(brief, value);
        EXPECT_EQ(brief, text);
        EXPECT_EQ(fixedText(value), text);
    }
}

TEST(NumberText, ShortAndFixedAsTheCLibraryPrintsThem) {
    std::mt19937_64 random(12);
    for (int i = 0; i < 20'000; ++i) {
        const double value = someNumber(random, i % 6);
        if (std::isfinite(value)) {
            std::string brief;
            appendShort(brief, value);
            ASSERT_EQ(brief, printed("%g", value));
            ASSERT_EQ(fixedText(value), printed("%f", value));
        }
    }
}

} // namespace Tessaly
