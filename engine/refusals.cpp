#include "engine/refusals.h"

#include <cmath>

#include "engine/quantities.h"
#include "engine/slots.h"

namespace brinora {
namespace {

constexpr const char* kParameterNames[] = {"TA", "TCO2", "pH", "fCO2", "pCO2"};

std::string inputWords(int index) {
    const Quantity* q = quantityAtSlot(slot::kSalinity + static_cast<std::uint32_t>(index));
    return q ? std::string(q->words) : std::string("an input");
}

}  // namespace

std::int8_t refusalCode(const ComputeOutcome& outcome) {
    using Status = ComputeOutcome::Status;
    switch (outcome.status) {
        case Status::kComputed: return refusal::kComputed;
        case Status::kSalinityMissing: return refusal::kSalinityMissing;
        case Status::kTemperatureMissing: return refusal::kTemperatureMissing;
        case Status::kNegativeParameter:
            return static_cast<std::int8_t>(refusal::kNegativeFirst + outcome.parameter - 1);
    }
    return refusal::kComputed;
}

std::int8_t nonFiniteInputCode(const float (&inputs)[14]) {
    for (int j = 0; j < kSampleInputCount; ++j) {
        if (std::isnan(inputs[j])) return static_cast<std::int8_t>(refusal::kNotANumberFirst + j);
        if (std::isinf(inputs[j])) return static_cast<std::int8_t>(refusal::kInfiniteFirst + j);
    }
    return refusal::kComputed;
}

std::string refusalReason(int code) {
    using namespace refusal;
    if (code == kComputed) return "computed";
    if (code == kSalinityMissing) return "the salinity is missing (-9 and -999 mark a missing value)";
    if (code == kTemperatureMissing) return "the temperature is missing (-9 and -999 mark a missing value)";
    if (code >= kNegativeFirst && code < kNegativeFirst + 5) {
        return std::string(kParameterNames[code - kNegativeFirst]) + " is negative";
    }
    if (code >= kNotANumberFirst && code < kInfiniteFirst) {
        return inputWords(code - kNotANumberFirst) + " is not a number";
    }
    if (code >= kInfiniteFirst && code < kCount) {
        return inputWords(code - kInfiniteFirst) + " is out of range (infinite in single precision)";
    }
    return "refusal " + std::to_string(code);
}

}  // namespace brinora
