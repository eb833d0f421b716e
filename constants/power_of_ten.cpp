// 10^x = 2^k 2^(j/64) 2^r with t = x log2(10) = k + j/64 + r, |r| <= 1/128;
// 2^r = e^y, y = r ln 2, |y| < 0.0055, by its Taylor polynomial of degree 5
// (remainder below 2^-55). Errors, relative: t carries |t| 2^-52 <= 2^-45
// (|t| < 123), so 2^t about 2^-45.5; the table entry, the polynomial and the
// product a few units of 2^-53. Together below 2^-44.
//
// Rounding to float looks at the 29 low bits of the double's significand:
// below 2^28 it rounds down, above it rounds up, equal is a tie. pow's
// result lies within one unit in the last place of the exact value (glibc:
// 0.52), and ours within 2^-44 relative, that is within 2^9 units; when our
// low bits are more than 2^13 units from 2^28 no halfway point lies between
// the two values, and both round to the same float.
#include "constants/power_of_ten.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace brinora {
namespace {

// log2(10) and ln(2), the doubles nearest to them.
constexpr double kLog2Of10 = 3.321928094887362347870319429489390175864831393;
constexpr double kLn2 = 0.693147180559945309417232121458176568075500134;

// e^y by its Taylor series to 30 terms (|y| < 0.7: remainder far below 2^-53),
// for the table.
constexpr double ExpBySeries(double y) {
    double sum = 1.0;
    double term = 1.0;
    for (int n = 1; n <= 30; ++n) {
        term = term * y / n;
        sum = sum + term;
    }
    return sum;
}

// 2^(j/64), j = 0..63.
constexpr std::array<double, 64> kTwoToTheSixtyFourths = [] {
    std::array<double, 64> table{};
    for (int j = 0; j < 64; ++j) table[static_cast<std::size_t>(j)] = ExpBySeries(j * (kLn2 / 64.0));
    return table;
}();

// 1.5 * 2^52: a double of that size has no fraction bits.
constexpr double kRoundingShift = 6755399441055744.0;

// Distance, in units of the double's last place, from a halfway point
// between two floats below which pow decides.
constexpr std::uint64_t kHalfwayMargin = std::uint64_t{1} << 13;

}  // namespace

float TenToTheAsFloat(double x) {
    if (!(x > -37.0 && x < 37.0)) return static_cast<float>(std::pow(10.0, x));
    const double t = x * kLog2Of10;
    // n = t * 64 rounded to an integer (|t * 64| < 2^13: adding and taking
    // away 1.5 * 2^52 rounds it, ties to even), exactly.
    const double n = (t * 64.0 + kRoundingShift) - kRoundingShift;
    const double r = t - n / 64.0;  // exact: n/64 is the multiple of 1/64 nearest t
    const auto whole = static_cast<std::int64_t>(n);
    const std::int64_t k = whole >> 6;  // floor(n / 64), |k| < 124
    const auto j = static_cast<std::size_t>(whole & 63);
    const double y = r * kLn2;
    // The polynomial in two halves (y^2 apart), which the processor evaluates side by side.
    const double y2 = y * y;
    const double expY = (1.0 + y) + y2 * ((0.5 + y * (1.0 / 6.0)) + y2 * (1.0 / 24.0 + y * (1.0 / 120.0)));
    const double twoToTheK = std::bit_cast<double>(static_cast<std::uint64_t>(k + 1023) << 52);
    const double value = kTwoToTheSixtyFourths[j] * expY * twoToTheK;  // the last product is exact
    const std::uint64_t low = std::bit_cast<std::uint64_t>(value) & ((std::uint64_t{1} << 29) - 1);
    constexpr std::uint64_t kHalfway = std::uint64_t{1} << 28;
    const std::uint64_t fromHalfway = low > kHalfway ? low - kHalfway : kHalfway - low;
    if (fromHalfway <= kHalfwayMargin) return static_cast<float>(std::pow(10.0, x));
    return static_cast<float>(value);
}

}  // namespace brinora
