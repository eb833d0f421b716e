// Reading what a user asks of the propagation, and the sample of a board.
#include "uncertainty_io/uncertainty_request.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "engine/quantities.h"
#include "engine/slots.h"

namespace brinora::uncertainty {
namespace {

// The command line's flag of the input that brinora.compute calls `name`
// without its leading "--".
std::string FlagWord(std::string_view name) {
    const brinora::Quantity* q = inputNamed(name);
    if (!q || q->flag.size() < 2) return std::string(name);
    return std::string(q->flag.substr(2));
}

std::string_view Trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.remove_suffix(1);
    return s;
}

}  // namespace

std::string SourceOptionName(Source source) {
    if (source == kFirstParameter || source == kSecondParameter || source >= kSourceCount) return "";
    if (source >= kpK0) return "--u-" + std::string(kSourceNames[source]);
    return "--u-" + FlagWord(kSourceNames[source]);
}

std::string ParameterOptionName(int code) {
    if (code < 1 || code > 5) return "";
    return "--u-" + FlagWord(kParameterNames[static_cast<std::size_t>(code)]);
}

void SetConstantsSet(bool standard, UncertaintyRequest& request) {
    for (std::size_t s = kpK0; s < kSourceCount; ++s) request.source[s] = 0.0;
    if (standard) SetStandardConstantUncertainties(request.source);
}

bool SetConstantsFromText(std::string_view text, UncertaintyRequest& request, std::string& error) {
    SetConstantsSet(false, request);
    int lineNumber = 0;
    std::size_t begin = 0;
    while (begin <= text.size()) {
        ++lineNumber;
        std::size_t end = text.find('\n', begin);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(begin, end - begin);
        begin = end + 1;
        if (const std::size_t hash = line.find('#'); hash != std::string_view::npos) line = line.substr(0, hash);
        line = Trim(line);
        if (line.empty()) continue;
        const std::size_t cut = line.find_first_of(" \t,=");
        const std::string_view name = Trim(line.substr(0, cut));
        std::string_view value = cut == std::string_view::npos ? std::string_view() : Trim(line.substr(cut + 1));
        if (!value.empty() && (value.front() == ',' || value.front() == '=')) value = Trim(value.substr(1));
        std::size_t source = kSourceCount;
        for (std::size_t s = kpK0; s < kSourceCount; ++s) {
            if (kSourceNames[s] == name) source = s;
        }
        if (source == kSourceCount) {
            error = "line " + std::to_string(lineNumber) + ": '" + std::string(name) +
                    "' is not a constant (pk0 pk1 pk2 pkb pkw pkspa pkspc pks pkf pkp1 pkp2 pkp3 pksi bt)";
            return false;
        }
        const std::string number(value);
        char* rest = nullptr;
        const double u = std::strtod(number.c_str(), &rest);
        if (number.empty() || !Trim(rest).empty() || !std::isfinite(u) || u < 0.0) {
            error = "line " + std::to_string(lineNumber) + ": the uncertainty of " + std::string(name) +
                    " is not a number 0 or greater: '" + number + "'";
            return false;
        }
        request.source[source] = u;
    }
    return true;
}

std::array<double, kSourceCount> SourceUncertainties(const UncertaintyRequest& request, int first, int second) {
    std::array<double, kSourceCount> u = request.source;
    u[kFirstParameter] = request.parameter[static_cast<std::size_t>(first)];
    u[kSecondParameter] = request.parameter[static_cast<std::size_t>(second)];
    return u;
}

bool SampleOfBoard(const Board& board, Sample& sample, ChemistryOptions& options) {
    options.whichKs = static_cast<int>(board.get(slot::kConstantsSet)) + 1;
    options.whichKSO4 = static_cast<int>(board.get(slot::kKHSO4)) + 1;
    options.pHScale = static_cast<int>(board.get(slot::kpHScale)) + 1;
    options.fluxCode = static_cast<int>(board.get(slot::kAirSeaFlux));
    sample = Sample{};
    const std::pair<std::uint32_t, Source> inputs[] = {
        {slot::kSalinity, kSalinity},           {slot::kTemperature, kTemperature},
        {slot::kPressure, kPressure},           {slot::kPhosphate, kPhosphate},
        {slot::kSilicate, kSilicate},           {slot::kTemperatureOut, kTemperatureOut},
        {slot::kPressureOut, kPressureOut},     {slot::kpCO2Air, kpCO2Air},
        {slot::kWindSpeed, kWindSpeed}};
    for (const auto& [pos, source] : inputs) sample.x[source] = static_cast<double>(board.get(pos));
    int found = 0;
    for (int code = 1; code <= 5 && found < 2; ++code) {
        const float v = board.get(slot::kTA + static_cast<std::uint32_t>(code - 1));
        if (v == 0.0f) continue;
        (found == 0 ? sample.first : sample.second) = code;
        sample.x[found == 0 ? kFirstParameter : kSecondParameter] = static_cast<double>(v);
        ++found;
    }
    return found == 2;
}

std::string FormatUncertainty(double u) {
    if (!std::isfinite(u)) return "nan";
    if (u == 0.0) return "0";
    const int exponent = static_cast<int>(std::floor(std::log10(std::fabs(u))));
    const int decimals = exponent >= 2 ? 0 : 2 - exponent;
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, u);
    return text;
}

}  // namespace brinora::uncertainty
