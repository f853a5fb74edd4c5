#include "io/NumberText.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Tessaly {

namespace {

__extension__ using Wide = unsigned __int128;

constexpr int digitCount = 17;
constexpr std::uint64_t tenTo16 = 10'000'000'000'000'000ULL;
constexpr std::uint64_t tenTo17 = 10 * tenTo16;

/// Powers of five that fit into 64 bits; numbers of 1e-11 to 1e17 need no others.
constexpr int mostFives = 27;
constexpr std::array<std::uint64_t, mostFives + 1> powersOfFive = [] {
    std::array<std::uint64_t, mostFives + 1> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i) {
        powers[i] = powers[i - 1] * 5;
    }
    return powers;
}();

/// Not finite numbers and zero; false for all others.
bool appendSpecial(std::string& text, double value) {
    if (std::isnan(value)) {
        text += "nan";
    } else if (std::isinf(value)) {
        text += value < 0.0 ? "-inf" : "inf";
    } else if (value == 0.0) {
        text += std::signbit(value) ? "-0" : "0";
    } else {
        return false;
    }
    return true;
}

/// mantissa * 2^exponent * 10^power, rounded to the nearest integer, ties to even. All digits of the product are there.
std::uint64_t scaled(std::uint64_t mantissa, int exponent, int power) {
    const Wide product = static_cast<Wide>(mantissa) * powersOfFive[static_cast<std::size_t>(power)];
    const int shift = exponent + power;
    if (shift >= 0) {
        return static_cast<std::uint64_t>(product << shift);
    }
    const auto whole = static_cast<std::uint64_t>(product >> -shift);
    const Wide rest = product & ((static_cast<Wide>(1) << -shift) - 1);
    const Wide half = static_cast<Wide>(1) << (-shift - 1);
    return whole + (rest > half || (rest == half && (whole & 1U) != 0) ? 1U : 0U);
}

/// 17 digits and the power of ten of the first one; false for numbers that are too large or too small for this way.
bool exactDigits(double value, std::uint64_t& digits, int& tens) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const int biased = static_cast<int>(bits >> 52U & 0x7FFU);
    const std::uint64_t mantissa = (bits & ((1ULL << 52U) - 1U)) | 1ULL << 52U;
    const int exponent = biased - 1075;
    if (biased < 1023 - 36 || biased > 1023 + 55) {
        return false;
    }
    // log10(2), rounded down: the guess is right or one too low.
    const int binary = biased - 1023;
    tens = (binary * 1233) >> 12;
    if (tens < digitCount - 1 - mostFives) {
        return false;
    }
    digits = scaled(mantissa, exponent, digitCount - 1 - tens);
    if (digits >= tenTo17) {
        ++tens;
        if (tens > digitCount - 1) {
            return false;
        }
        digits = scaled(mantissa, exponent, digitCount - 1 - tens);
    }
    if (digits < tenTo16) {
        return false;
    }
    return true;
}

/// As "%g" lays digits out: no zeros at the end, an exponent for what is very large or small.
void appendDigits(std::string& text, std::uint64_t digits, int tens) {
    std::array<char, digitCount> figures;
    std::to_chars(figures.data(), figures.data() + figures.size(), digits);
    std::size_t used = digitCount;
    while (used > 1 && figures[used - 1] == '0') {
        --used;
    }
    const std::string_view all(figures.data(), used);
    if (tens < -4) {
        text.append(all.substr(0, 1));
        if (used > 1) {
            text.append(".").append(all.substr(1));
        }
        text.append(tens > -10 ? "e-0" : "e-").append(std::to_string(-tens));
    } else if (tens < 0) {
        text.append("0.000", static_cast<std::size_t>(1 - tens)).append(all);
    } else {
        const auto whole = static_cast<std::size_t>(tens + 1);
        text.append(figures.data(), whole);
        if (used > whole) {
            text.append(".").append(all.substr(whole));
        }
    }
}

} // namespace

void appendExact(std::string& text, double value) {
    if (appendSpecial(text, value)) {
        return;
    }
    std::uint64_t digits = 0;
    int tens = 0;
    if (exactDigits(std::fabs(value), digits, tens)) {
        if (value < 0.0) {
            text += '-';
        }
        appendDigits(text, digits, tens);
        return;
    }
    std::array<char, 40> buffer;
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general, digitCount);
    text.append(buffer.data(), end.ptr);
}

void appendShort(std::string& text, double value) {
    if (appendSpecial(text, value)) {
        return;
    }
    std::array<char, 40> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general, 6);
    text.append(buffer.data(), end.ptr);
}

std::string fixedText(double value) {
    if (std::isnan(value)) {
        return "nan";
    }
    std::array<char, 400> buffer; // the largest double has 309 digits before the point
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, 6);
    return {buffer.data(), end.ptr};
}

} // namespace Tessaly
