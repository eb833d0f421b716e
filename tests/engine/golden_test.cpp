// Regression guard: every result slot of 42 samples, printed "%.3f", against
// a table reviewed once by hand. Set BRINORA_UPDATE_GOLDEN=1 to rewrite the
// table after a deliberate change, then review the diff.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "engine/compute_co2.h"
#include "engine/slots.h"
#include "sample.h"

namespace brinora {
namespace {

using test::Sample;

// Water masses: conditions and all five carbonate parameters (the pair
// decides which reach the board). pH values are on the total scale.
struct WaterMass {
    const char* name;
    float S, TempC, Pdbar, TP, TSi, TempCOut, PdbarOut, TA, TCO2, pH, fCO2, pCO2;
};

constexpr WaterMass kWaterMasses[] = {
    {"tropical surface", 35.5f, 27.0f, 0.0f, 0.2f, 2.0f, 20.0f, 0.0f, 2300.0f, 1980.0f, 8.05f,
     390.0f, 392.0f},
    {"abyssal", 34.7f, 2.0f, 4000.0f, 2.3f, 120.0f, 25.0f, 0.0f, 2350.0f, 2250.0f, 7.75f, 850.0f,
     855.0f},
    {"coastal", 30.0f, 15.0f, 5.0f, 1.0f, 15.0f, 0.0f, 0.0f, 2150.0f, 2000.0f, 7.95f, 450.0f,
     452.0f},
    {"polar", 33.8f, -1.5f, 50.0f, 1.8f, 50.0f, 5.0f, 6000.0f, 2280.0f, 2180.0f, 8.02f, 330.0f,
     331.0f},
    {"hadal", 34.7f, 1.5f, 6000.0f, 2.4f, 140.0f, 20.0f, 0.0f, 2360.0f, 2270.0f, 7.72f, 900.0f,
     905.0f},
    {"estuary", 10.0f, 20.0f, 0.0f, 3.0f, 60.0f, 0.0f, 0.0f, 1500.0f, 1450.0f, 7.8f, 600.0f,
     602.0f},
};

// The carbonate pairs, as indices into TA, TCO2, pH, fCO2, pCO2.
constexpr int kPairs[][2] = {{1, 2}, {1, 3}, {1, 4}, {1, 5}, {2, 3},
                             {2, 4}, {2, 5}, {3, 4}, {3, 5}};

std::vector<Sample> goldenSamples() {
    std::vector<Sample> samples;
    constexpr int kCount = 42;
    for (int i = 0; i < kCount; ++i) {
        const WaterMass& w = kWaterMasses[i % std::size(kWaterMasses)];
        const int* pair = kPairs[i % std::size(kPairs)];
        Sample s;
        s.S = w.S;
        s.TempC = w.TempC;
        s.Pdbar = w.Pdbar;
        s.TP = w.TP;
        s.TSi = w.TSi;
        s.TempCOut = w.TempCOut;
        s.PdbarOut = w.PdbarOut;
        const float params[] = {0.0f, w.TA, w.TCO2, w.pH, w.fCO2, w.pCO2};
        float* targets[] = {nullptr, &s.TA, &s.TCO2, &s.pH, &s.fCO2, &s.pCO2};
        *targets[pair[0]] = params[pair[0]];
        *targets[pair[1]] = params[pair[1]];
        s.pCO2air = 400.0f;
        s.wind = static_cast<float>(3 + i % 9);
        s.constants = i % 14 + 1;
        s.pHScale = (i / 14 + i) % 4 + 1;
        s.khso4 = i % 2 + 1;
        s.flux = i % 3 + 1;
        static const char* const kNames[] = {"", "TA", "TCO2", "pH", "fCO2", "pCO2"};
        s.name = std::string(w.name) + ", " + kNames[pair[0]] + "+" + kNames[pair[1]] +
                 ", constants " + std::to_string(s.constants) + ", KHSO4 " +
                 std::to_string(s.khso4) + ", pH scale " + std::to_string(s.pHScale) + ", flux " +
                 std::to_string(s.flux);
        samples.push_back(s);
    }
    return samples;
}

constexpr struct {
    std::uint32_t slot;
    const char* name;
} kResultSlots[] = {
    {30, "S"},          {31, "T"},         {32, "P"},         {33, "TP"},
    {34, "TSi"},        {35, "TA"},        {36, "TCO2"},      {37, "pH"},
    {38, "fCO2"},       {39, "pCO2"},      {40, "HCO3"},      {41, "CO3"},
    {42, "CO2"},        {43, "BAlk"},      {44, "OH"},        {45, "PAlk"},
    {46, "SiAlk"},      {47, "Revelle"},   {48, "OmegaCa"},   {49, "OmegaAr"},
    {50, "xCO2"},       {52, "T_out"},     {53, "P_out"},     {54, "pH_out"},
    {55, "fCO2_out"},   {56, "pCO2_out"},  {57, "HCO3_out"},  {58, "CO3_out"},
    {59, "CO2_out"},    {60, "BAlk_out"},  {61, "OH_out"},    {62, "PAlk_out"},
    {63, "SiAlk_out"},  {64, "Revelle_out"}, {65, "OmegaCa_out"}, {66, "OmegaAr_out"},
    {67, "xCO2_out"},   {69, "flux_in"},   {70, "sigma_in"},  {71, "flux_out"},
    {72, "sigma_out"},
};

std::string goldenText() {
    std::ostringstream out;
    int index = 0;
    for (const Sample& sample : goldenSamples()) {
        Board board;
        test::place(sample, board);
        ProcessValues values;
        const ComputeOutcome outcome = BrinoraMain::ComputeCO2(board, values);
        out << "# " << index++ << ": " << sample.name << "\n";
        if (!outcome.computed()) {
            out << "refused\n";
            continue;
        }
        for (const auto& result : kResultSlots) {
            char line[128];
            std::snprintf(line, sizeof line, "%s %.3f\n", result.name,
                          static_cast<double>(board.get(result.slot)));
            out << line;
        }
    }
    return out.str();
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) result.push_back(line);
    return result;
}

TEST(Golden, EveryResultSlotOfFortyTwoSamples) {
    const char* dataDir = std::getenv("BRINORA_TEST_DATA");
    ASSERT_NE(dataDir, nullptr);
    const std::string path = std::string(dataDir) + "/data/golden.txt";
    const std::string computed = goldenText();

    if (std::getenv("BRINORA_UPDATE_GOLDEN")) {
        std::ofstream(path) << computed;
        GTEST_SKIP() << "rewrote " << path;
    }

    std::ifstream file(path);
    ASSERT_TRUE(file) << "missing " << path;
    std::stringstream expectedText;
    expectedText << file.rdbuf();
    const std::vector<std::string> expected = lines(expectedText.str());
    const std::vector<std::string> actual = lines(computed);
    ASSERT_EQ(actual.size(), expected.size());

    // Report the largest numeric difference and every differing line.
    int differing = 0;
    double worst = 0;
    std::string worstReport;
    std::string sample;
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (actual[i].rfind("# ", 0) == 0) sample = actual[i];
        if (actual[i] == expected[i]) continue;
        ++differing;
        const double a = std::strtod(actual[i].substr(actual[i].find(' ') + 1).c_str(), nullptr);
        const double e = std::strtod(expected[i].substr(expected[i].find(' ') + 1).c_str(), nullptr);
        const double diff = std::fabs(a - e);
        if (worstReport.empty() || diff > worst || std::isnan(diff)) {
            worst = diff;
            worstReport = sample + " | computed '" + actual[i] + "', expected '" + expected[i] + "'";
        }
        ADD_FAILURE() << sample << ": computed '" << actual[i] << "', expected '" << expected[i]
                      << "'";
    }
    EXPECT_EQ(differing, 0) << "worst: " << worstReport;
}

}  // namespace
}  // namespace brinora
