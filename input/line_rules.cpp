#include "input/line_rules.h"

namespace brinora {
namespace {

// Pairs of carbonate fields (TA 13, TCO2 14, pH 15, fCO2 16, pCO2 17).
constexpr std::array<std::array<std::size_t, 2>, 9> kCarbonatePairs = {{
    {13, 14}, {13, 15}, {13, 16}, {13, 17}, {14, 15}, {14, 16}, {14, 17}, {15, 16}, {15, 17}}};

}  // namespace

std::string_view stopMessage(StopReason reason) {
    switch (reason) {
        case StopReason::kSalinity:
            return "All records require a salinity value. There is a salinity value missing.";
        case StopReason::kTemperature:
            return "All records require a temperature value. There is a temperature value missing.";
        case StopReason::kPairs:
            return "To batch process records, Brinora needs values for at least two carbonate parameters";
        case StopReason::kNone:
            break;
    }
    return {};
}

LineCheck checkBatchLine(const BatchFields& fields) {
    if (fields[kSampleIdField].empty()) return {LineVerdict::kNothing, StopReason::kNone};
    if (fields[kSalinityField].empty()) return {LineVerdict::kStop, StopReason::kSalinity};
    if (fields[kTemperatureField].empty()) return {LineVerdict::kStop, StopReason::kTemperature};
    for (const auto& pair : kCarbonatePairs) {
        if (fields[pair[0]].empty() && fields[pair[1]].empty()) return {LineVerdict::kSample, StopReason::kNone};
    }
    return {LineVerdict::kStop, StopReason::kPairs};
}

int countHeaderNames(std::string_view headerLine) {
    int names = 0;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = headerLine.find(',', start);
        const std::size_t end = comma == std::string_view::npos ? headerLine.size() : comma;
        if (end > start) ++names;
        if (comma == std::string_view::npos) return names;
        start = comma + 1;
    }
}

}  // namespace brinora
