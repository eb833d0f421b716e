#include "cases.h"

#include <cmath>

#include "engine/compute_co2.h"
#include "engine/slots.h"

namespace brinora::uncertainty::test {
namespace {

// Water masses of the engine's golden table: conditions and all five
// carbonate parameters (pH on the total scale).
struct WaterMass {
    const char* name;
    float S, TempC, Pdbar, TP, TSi, TempCOut, PdbarOut, TA, TCO2, pH, fCO2, pCO2;
};

constexpr WaterMass kWaterMasses[] = {
    {"tropical surface", 35.5f, 27.0f, 0.0f, 0.2f, 2.0f, 20.0f, 0.0f, 2300.0f, 1980.0f, 8.05f, 390.0f, 392.0f},
    {"abyssal", 34.7f, 2.0f, 4000.0f, 2.3f, 120.0f, 25.0f, 0.0f, 2350.0f, 2250.0f, 7.75f, 850.0f, 855.0f},
    {"coastal", 30.0f, 15.0f, 5.0f, 1.0f, 15.0f, 0.0f, 0.0f, 2150.0f, 2000.0f, 7.95f, 450.0f, 452.0f},
    {"polar", 33.8f, -1.5f, 50.0f, 1.8f, 50.0f, 5.0f, 6000.0f, 2280.0f, 2180.0f, 8.02f, 330.0f, 331.0f},
    {"hadal", 34.7f, 1.5f, 6000.0f, 2.4f, 140.0f, 20.0f, 0.0f, 2360.0f, 2270.0f, 7.72f, 900.0f, 905.0f},
    {"estuary", 10.0f, 20.0f, 0.0f, 3.0f, 60.0f, 0.0f, 0.0f, 1500.0f, 1450.0f, 7.8f, 600.0f, 602.0f},
};

constexpr int kPairs[][2] = {{1, 2}, {1, 3}, {1, 4}, {1, 5}, {2, 3}, {2, 4}, {2, 5}, {3, 4}, {3, 5}};
constexpr const char* kParameterLabels[] = {"", "TA", "TCO2", "pH", "fCO2", "pCO2"};

Case Build(int i, int first, int second) {
    const WaterMass& w = kWaterMasses[i % std::size(kWaterMasses)];
    Case c;
    c.options.whichKs = i % 14 + 1;
    c.options.pHScale = (i / 14 + i) % 4 + 1;
    c.options.whichKSO4 = i % 2 + 1;
    c.options.fluxCode = i % 3;
    const float params[] = {0.0f, w.TA, w.TCO2, w.pH, w.fCO2, w.pCO2};
    Sample& s = c.sample;
    s.first = first;
    s.second = second;
    s.x[kFirstParameter] = params[first];
    s.x[kSecondParameter] = params[second];
    s.x[kSalinity] = w.S;
    s.x[kTemperature] = w.TempC;
    s.x[kPressure] = w.Pdbar;
    s.x[kPhosphate] = w.TP;
    s.x[kSilicate] = w.TSi;
    s.x[kTemperatureOut] = w.TempCOut;
    s.x[kPressureOut] = w.PdbarOut;
    s.x[kpCO2Air] = 400.0f;
    s.x[kWindSpeed] = static_cast<float>(3 + i % 9);
    c.name = std::string(w.name) + ", " + kParameterLabels[first] + "+" + kParameterLabels[second] +
             ", constants " + std::to_string(c.options.whichKs) + ", KHSO4 " + std::to_string(c.options.whichKSO4) +
             ", pH scale " + std::to_string(c.options.pHScale) + ", flux " + std::to_string(c.options.fluxCode + 1);
    return c;
}

}  // namespace

std::vector<Case> GoldenCases() {
    std::vector<Case> cases;
    for (int i = 0; i < 42; ++i) {
        const int* pair = kPairs[i % std::size(kPairs)];
        cases.push_back(Build(i, pair[0], pair[1]));
    }
    return cases;
}

Case WithPair(int index, int first, int second) { return Build(index, first, second); }

bool RecordOf(const Case& c, std::array<double, kQuantityCount>& record) {
    Board board;
    board.set(slot::kConstantsSet, static_cast<float>(c.options.whichKs - 1));
    board.set(slot::kKHSO4, static_cast<float>(c.options.whichKSO4 - 1));
    board.set(slot::kpHScale, static_cast<float>(c.options.pHScale - 1));
    board.set(slot::kAirSeaFlux, static_cast<float>(c.options.fluxCode));
    const auto& x = c.sample.x;
    const std::uint32_t inputs[] = {slot::kSalinity, slot::kTemperature, slot::kPressure, slot::kPhosphate,
                                    slot::kSilicate, slot::kTemperatureOut, slot::kPressureOut, slot::kpCO2Air,
                                    slot::kWindSpeed};
    const Source sources[] = {kSalinity, kTemperature, kPressure, kPhosphate, kSilicate,
                              kTemperatureOut, kPressureOut, kpCO2Air, kWindSpeed};
    for (std::size_t i = 0; i < std::size(inputs); ++i) board.set(inputs[i], static_cast<float>(x[sources[i]]));
    board.set(slot::kTA + static_cast<std::uint32_t>(c.sample.first - 1), static_cast<float>(x[kFirstParameter]));
    board.set(slot::kTA + static_cast<std::uint32_t>(c.sample.second - 1), static_cast<float>(x[kSecondParameter]));
    ProcessValues values;
    if (!BrinoraMain::ComputeCO2(board, values).computed()) return false;
    constexpr std::uint32_t kNone = 0;
    constexpr std::uint32_t kSlots[kQuantityCount] = {
        slot::kpHIn, kNone, slot::kfCO2In, slot::kpCO2In, slot::kTAOut, slot::kTCO2Out, slot::kHCO3In,
        slot::kCO3In, slot::kCO2In, slot::kBAlkIn, slot::kOHIn, slot::kPAlkIn, slot::kSiAlkIn, slot::kRevelleIn,
        slot::kOmegaCaIn, slot::kOmegaArIn, slot::kxCO2In, slot::kCO2FluxIn,
        slot::kpHOut, kNone, slot::kfCO2Out, slot::kpCO2Out, slot::kHCO3Out, slot::kCO3Out, slot::kCO2Out,
        slot::kBAlkOut, slot::kOHOut, slot::kPAlkOut, slot::kSiAlkOut, slot::kRevelleOut, slot::kOmegaCaOut,
        slot::kOmegaArOut, slot::kxCO2Out, slot::kCO2FluxOut};
    for (std::size_t q = 0; q < kQuantityCount; ++q) {
        record[q] = kSlots[q] == kNone ? std::nan("") : static_cast<double>(board.get(kSlots[q]));
    }
    return true;
}

}  // namespace brinora::uncertainty::test
