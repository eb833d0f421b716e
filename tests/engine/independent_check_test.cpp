// The reviewed output files (tests/engine/data/golden.txt and the example
// cruise's records in tests/cli/data/cruise_Brinora.csv) were written by the
// program itself. These tests tie them to numbers the program did not make:
// an independent double-precision re-derivation of the carbonate system from
// the published formulas (independent_carbonate.h, which is itself checked
// against the published check values first), for every sample at 1 atm on
// the total pH scale with the constants of Lueker et al. (2000) or Roy et al.
// (1993) and the KHSO4 of Dickson (1990).
//
// Tolerances: the files print three decimals (half a unit is 0.0005); the
// program stores every constant and result as a 32-bit float (relative
// 6e-8); its K1 of Lueker et al. has 3633.866 for the printed 3633.86
// (2e-5 in pK1); it brings KW, KP1-3 and KSi to the total scale with its own
// scale factor, where the re-derivation uses the total-scale forms of DOE
// (1994), whose KW is 0.7% larger; its Revelle factor takes TCO2 - 1 umol/kg
// as the reference (relative 1/TCO2, 0.009 at a factor of 17.5). The largest
// differences found are 0.00046 in pH, 0.093 uatm in fCO2, 0.045 umol/kg in
// CO3, 0.066 umol/kg in OH and 0.0093 in the Revelle factor. The tolerances
// below hold these with room and stay far below what a wrong constant moves:
// the last tests put in the K1, K2 of another author and the boron ratio of
// another author, and the same comparison then fails.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "independent_carbonate.h"
#include "tests/support/files.h"

namespace brinora {
namespace {

using independent::CarbonateSystem;
using independent::CarbonicAcid;
using independent::Conditions;
using independent::Parameter;

// ---------------------------------------------------------------- the re-derivation itself

struct CheckValue {
    const char* quantity;
    const char* source;
    double computed;
    double expected;
    double tolerance;
};

// S = 35, t = 25 deg C, 1 atm; tolerance half a unit of the last printed digit.
std::vector<CheckValue> PublishedCheckValues() {
    const auto lueker = independent::ConstantsAtSurface(35.0, 25.0, CarbonicAcid::kLueker2000);
    const auto roy = independent::ConstantsAtSurface(35.0, 25.0, CarbonicAcid::kRoy1993);
    return {
        {"ln K0", "Weiss (1974); DOE (1994) ch. 5", std::log(lueker.K0), -3.5617, 0.00005},
        {"log10 K1", "Lueker et al. (2000); Dickson et al. (2007) ch. 5", std::log10(lueker.K1), -5.8472, 0.00005},
        {"log10 K2", "Lueker et al. (2000); Dickson et al. (2007) ch. 5", std::log10(lueker.K2), -8.9660, 0.00005},
        {"ln K1", "Roy et al. (1993); DOE (1994) ch. 5", std::log(roy.K1), -13.4847, 0.00005},
        {"ln K2", "Roy et al. (1993); DOE (1994) ch. 5", std::log(roy.K2), -20.5504, 0.00005},
        {"ln KB", "Dickson (1990); DOE (1994) ch. 5", std::log(lueker.KB), -19.7964, 0.00005},
        {"ln KS", "Dickson (1990); DOE (1994) ch. 5", std::log(lueker.KS), -2.30, 0.005},
        {"ln KW", "Millero (1995); DOE (1994) ch. 5", std::log(lueker.KW), -30.434, 0.0005},
        {"ln KP1", "Millero (1995); DOE (1994) ch. 5", std::log(lueker.KP1), -3.71, 0.005},
        {"ln KP2", "Millero (1995); DOE (1994) ch. 5", std::log(lueker.KP2), -13.727, 0.0005},
        {"ln KP3", "Millero (1995); DOE (1994) ch. 5", std::log(lueker.KP3), -20.24, 0.005},
        {"ln KSi", "Millero (1995); DOE (1994) ch. 5", std::log(lueker.KSi), -21.61, 0.005},
        {"pKsp calcite", "Mucci (1983)", -std::log10(lueker.KspCalcite), 6.3693, 0.00005},
        {"pKsp aragonite", "Mucci (1983)", -std::log10(lueker.KspAragonite), 6.1883, 0.00005},
    };
}

TEST(IndependentDerivation, MeetsThePublishedCheckValues) {
    const std::vector<CheckValue> values = PublishedCheckValues();
    double worstRatio = 0;
    std::size_t worst = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const CheckValue& v = values[i];
        const double ratio = std::fabs(v.computed - v.expected) / v.tolerance;
        EXPECT_LE(ratio, 1.0) << v.quantity << " (" << v.source << "): computed " << v.computed << ", printed "
                              << v.expected;
        if (ratio > worstRatio) {
            worstRatio = ratio;
            worst = i;
        }
    }
    EXPECT_LE(worstRatio, 1.0) << "worst: index " << worst << " " << values[worst].quantity;
}

// ---------------------------------------------------------------- comparison of records

// A quantity of the output file: its column at input and at output
// conditions (1-based; 0 where the file has none) and the tolerance.
struct Quantity {
    const char* name;
    int inColumn;
    int outColumn;
    double tolerance;  // in the output file's units
    double CarbonateSystem::*member;
};

const Quantity kQuantities[] = {
    {"TA", 12, 0, 0.5, &CarbonateSystem::TA},           // umol/kg
    {"TCO2", 13, 0, 0.5, &CarbonateSystem::TCO2},       // umol/kg
    {"pH", 14, 30, 0.001, &CarbonateSystem::pH},        // total scale
    {"fCO2", 15, 31, 0.3, &CarbonateSystem::fCO2},      // uatm
    {"pCO2", 16, 32, 0.3, &CarbonateSystem::pCO2},      // uatm
    {"HCO3", 17, 33, 0.5, &CarbonateSystem::HCO3},      // umol/kg
    {"CO3", 18, 34, 0.3, &CarbonateSystem::CO3},        // umol/kg
    {"CO2", 19, 35, 0.02, &CarbonateSystem::CO2},       // umol/kg
    {"BAlk", 20, 36, 0.2, &CarbonateSystem::BAlk},      // umol/kg
    {"OH", 21, 37, 0.1, &CarbonateSystem::OH},          // umol/kg
    {"PAlk", 22, 38, 0.01, &CarbonateSystem::PAlk},     // umol/kg
    {"SiAlk", 23, 39, 0.01, &CarbonateSystem::SiAlk},   // umol/kg
    {"Revelle", 24, 40, 0.02, &CarbonateSystem::Revelle},
    {"OmegaCa", 25, 41, 0.005, &CarbonateSystem::OmegaCa},
    {"OmegaAr", 26, 42, 0.005, &CarbonateSystem::OmegaAr},
    {"xCO2", 27, 43, 0.3, &CarbonateSystem::xCO2},  // ppm
};

// The outcome of comparing recorded values with re-derived ones.
struct Comparison {
    int values = 0;  // number of values compared
    std::vector<std::string> mismatches;
    double worstRatio = 0;  // largest |difference| / tolerance
    std::string worst;

    void compare(const std::string& where, const Quantity& q, double computed, double recorded) {
        ++values;
        const double ratio = std::fabs(computed - recorded) / q.tolerance;
        std::ostringstream line;
        line.precision(10);
        line << where << " " << q.name << ": re-derived " << computed << ", recorded " << recorded << " (tolerance "
             << q.tolerance << ")";
        if (!(ratio <= 1.0)) mismatches.push_back(line.str());
        if (!(ratio <= worstRatio)) {
            worstRatio = ratio;
            worst = line.str();
        }
    }
    int mismatchesOf(const std::string& name) const {
        int count = 0;
        for (const std::string& m : mismatches) count += m.find(" " + name + ": ") != std::string::npos;
        return count;
    }
};

using brinora::testing::readFile;

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> splitFields(const std::string& line) {
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = line.find(',', start);
        fields.push_back(line.substr(start, comma - start));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    return fields;
}

double number(const std::string& text) { return text.empty() ? 0.0 : std::strtod(text.c_str(), nullptr); }

// ---------------------------------------------------------------- the example cruise

// The example cruise's records (options 13, 1, 1, 1: Lueker et al. (2000),
// Dickson (1990), total scale) against the re-derivation from the cruise's
// input file, for every sample and side at 1 atm.
Comparison CompareCruise(CarbonicAcid set, double boronRatio, int& inputSides, int& outputSides) {
    const auto inputLines = splitLines(readFile(std::string(BRINORA_EXAMPLES_DIR) + "/cruise.csv"));
    const auto records = splitLines(readFile(std::string(BRINORA_CLI_DATA_DIR) + "/cruise_Brinora.csv"));
    Comparison comparison;
    inputSides = outputSides = 0;
    EXPECT_EQ(inputLines.size(), records.size());
    for (std::size_t n = 1; n < inputLines.size() && n < records.size(); ++n) {
        const auto in = splitFields(inputLines[n]);  // 21 fields, 1-based in the comments
        const auto record = splitFields(records[n]);
        EXPECT_EQ(in.size(), 21u) << inputLines[n];
        EXPECT_EQ(record.size(), 53u) << records[n];
        if (in.size() != 21 || record.size() != 53) continue;
        EXPECT_EQ(record[0], in[0]);  // the same sample

        const Conditions conditions{number(in[6]), number(in[7]), number(in[9]), number(in[10])};
        const double pressure = number(in[8]);
        // An empty or zero output condition means the input's.
        const double tempOut = number(in[11]) == 0.0 ? conditions.TempC : number(in[11]);
        const double pressureOut = number(in[12]) == 0.0 ? pressure : number(in[12]);
        EXPECT_NEAR(number(record[27]), tempOut, 0.0005) << "sample " << in[0];
        EXPECT_NEAR(number(record[28]), pressureOut, 0.0005) << "sample " << in[0];

        // The two given parameters, in the order TA, TCO2, pH, fCO2, pCO2 (fields 14 to 18).
        const Parameter parameters[] = {Parameter::kTA, Parameter::kTCO2, Parameter::kpH, Parameter::kfCO2,
                                        Parameter::kpCO2};
        std::vector<std::pair<Parameter, double>> given;
        for (int k = 0; k < 5; ++k) {
            if (!in[13 + k].empty()) given.emplace_back(parameters[k], number(in[13 + k]));
        }
        EXPECT_EQ(given.size(), 2u) << "sample " << in[0];
        if (given.size() != 2) continue;

        const std::string sample = "cruise sample " + in[0];
        if (pressure == 0.0) {
            ++inputSides;
            const auto K = independent::ConstantsAtSurface(conditions.S, conditions.TempC, set, boronRatio);
            const CarbonateSystem system = independent::SolveCarbonateSystem(
                conditions, K, given[0].first, given[0].second, given[1].first, given[1].second);
            for (const Quantity& q : kQuantities) {
                comparison.compare(sample + " in", q, system.*q.member, number(record[q.inColumn - 1]));
            }
            if (pressureOut == 0.0) {
                // TA and TCO2 held, as re-derived here, at the output temperature.
                ++outputSides;
                Conditions outConditions = conditions;
                outConditions.TempC = tempOut;
                const auto KOut = independent::ConstantsAtSurface(conditions.S, tempOut, set, boronRatio);
                const CarbonateSystem out = independent::SolveCarbonateSystem(
                    outConditions, KOut, Parameter::kTA, system.TA, Parameter::kTCO2, system.TCO2);
                for (const Quantity& q : kQuantities) {
                    if (q.outColumn == 0) continue;
                    comparison.compare(sample + " out", q, out.*q.member, number(record[q.outColumn - 1]));
                }
            }
        }
    }
    return comparison;
}

TEST(IndependentCheck, ExampleCruiseRecordsAgreeWithTheRederivation) {
    int inputSides = 0;
    int outputSides = 0;
    const Comparison c = CompareCruise(CarbonicAcid::kLueker2000, independent::kBoronUppstrom1974, inputSides,
                                       outputSides);
    // Samples 1-12 and 19-24 are at the surface; all but 19 (150 dbar) are computed at the surface again.
    EXPECT_EQ(inputSides, 18);
    EXPECT_EQ(outputSides, 17);
    EXPECT_EQ(c.values, 18 * 16 + 17 * 14);
    for (const std::string& m : c.mismatches) ADD_FAILURE() << m;
    EXPECT_LE(c.worstRatio, 1.0) << "worst: " << c.worst;
    RecordProperty("worst", c.worst);
}

// The example cruise's KML document (tests/cli/data/cruise_Brinora.kml)
// carries the same computed numbers as its records, which the test above
// ties to the re-derivation: every placemark's table, row by row.
TEST(IndependentCheck, ExampleCruiseKmlCarriesTheCheckedNumbers) {
    const std::string kml = readFile(std::string(BRINORA_CLI_DATA_DIR) + "/cruise_Brinora.kml");
    const auto records = splitLines(readFile(std::string(BRINORA_CLI_DATA_DIR) + "/cruise_Brinora.csv"));
    // Rows 6 to 21 of a placemark's table: the input label and the record's
    // input and output columns (the output of TA and TCO2 is the input's).
    const struct {
        const char* label;
        int inColumn;
        int outColumn;
    } kRows[] = {
        {"TA (\u00b5mol/kbSW)", 12, 12},   {"TCO2 (\u00b5mol/kbSW)", 13, 13}, {"pH", 14, 30},
        {"fCO2 (\u00b5atm)", 15, 31},      {"pCO2 (\u00b5atm)", 16, 32},      {"HCO3 (\u00b5mol/kbSW)", 17, 33},
        {"CO3 (\u00b5mol/kbSW)", 18, 34},  {"CO2 (\u00b5mol/kbSW)", 19, 35},  {"B Alk( \u00b5mol/kbSW)", 20, 36},
        {"OH (\u00b5mol/kbSW)", 21, 37},   {"P Alk (\u00b5mol/kbSW)", 22, 38}, {"Si Alk (\u00b5mol/kbSW)", 23, 39},
        {"Revelle", 24, 40},               {"O Ca", 25, 41},                  {"O Ar", 26, 42},
        {"xCO2 (dry a1 1atm)(ppm)", 27, 43},
    };
    constexpr int kFirstRow = 5;  // 0-based: Salinity, t(C), P, Total P and Total Si come first
    std::size_t placemarks = 0;
    int compared = 0;
    for (std::size_t at = kml.find("<Placemark>"); at != std::string::npos; at = kml.find("<Placemark>", at + 1)) {
        const std::size_t end = kml.find("</Placemark>", at);
        ASSERT_NE(end, std::string::npos);
        const std::string placemark = kml.substr(at, end - at);
        // The plain cells of the table, four to a row: label, input, label, output.
        std::vector<std::string> cells;
        for (std::size_t c = placemark.find("<Td>"); c != std::string::npos; c = placemark.find("<Td>", c + 1)) {
            const std::size_t close = placemark.find("</Td>", c);
            const std::string cell = placemark.substr(c + 4, close - c - 4);
            if (cell.find('<') == std::string::npos) cells.push_back(cell);
        }
        ++placemarks;
        ASSERT_LT(placemarks, records.size());
        const auto record = splitFields(records[placemarks]);
        ASSERT_EQ(record.size(), 53u);
        ASSERT_GE(cells.size(), static_cast<std::size_t>(4 * (kFirstRow + std::size(kRows))));
        for (std::size_t r = 0; r < std::size(kRows); ++r) {
            const std::size_t row = 4 * (kFirstRow + r);
            const std::string where = "placemark " + std::to_string(placemarks) + " " + kRows[r].label;
            EXPECT_EQ(cells[row], kRows[r].label) << where;
            EXPECT_EQ(cells[row + 1], record[kRows[r].inColumn - 1]) << where;
            EXPECT_EQ(cells[row + 3], record[kRows[r].outColumn - 1]) << where;
            compared += 2;
        }
    }
    EXPECT_EQ(placemarks, 24u);
    EXPECT_EQ(compared, 24 * 16 * 2);
}

// ---------------------------------------------------------------- golden.txt

// One sample of golden.txt: its heading and its "name value" lines.
struct GoldenSample {
    std::string heading;
    std::map<std::string, double> values;
};

std::vector<GoldenSample> readGolden() {
    std::vector<GoldenSample> samples;
    for (const std::string& line : splitLines(readFile(std::string(BRINORA_ENGINE_DATA_DIR) + "/golden.txt"))) {
        if (line.starts_with("# ")) {
            samples.push_back({line, {}});
        } else if (!samples.empty()) {
            const std::size_t blank = line.find(' ');
            if (blank == std::string::npos) continue;
            samples.back().values[line.substr(0, blank)] = number(line.substr(blank + 1));
        }
    }
    return samples;
}

// golden.txt's samples at 1 atm, input and output, on the total scale with
// KHSO4 1 and constants 1 (Roy et al. 1993) or 13 (Lueker et al. 2000),
// against the re-derivation from the pair the heading names.
Comparison CompareGolden(int& samplesCompared) {
    const std::map<std::string, Parameter> kNames = {{"TA", Parameter::kTA},
                                                     {"TCO2", Parameter::kTCO2},
                                                     {"pH", Parameter::kpH},
                                                     {"fCO2", Parameter::kfCO2},
                                                     {"pCO2", Parameter::kpCO2}};
    // Names in golden.txt of the quantities compared, at input and output conditions.
    const std::map<std::string, std::pair<std::string, std::string>> kGoldenNames = {
        {"TA", {"TA", ""}},           {"TCO2", {"TCO2", ""}},         {"pH", {"pH", "pH_out"}},
        {"fCO2", {"fCO2", "fCO2_out"}}, {"pCO2", {"pCO2", "pCO2_out"}}, {"HCO3", {"HCO3", "HCO3_out"}},
        {"CO3", {"CO3", "CO3_out"}},   {"CO2", {"CO2", "CO2_out"}},     {"BAlk", {"BAlk", "BAlk_out"}},
        {"OH", {"OH", "OH_out"}},      {"PAlk", {"PAlk", "PAlk_out"}},  {"SiAlk", {"SiAlk", "SiAlk_out"}},
        {"Revelle", {"Revelle", "Revelle_out"}}, {"OmegaCa", {"OmegaCa", "OmegaCa_out"}},
        {"OmegaAr", {"OmegaAr", "OmegaAr_out"}}, {"xCO2", {"xCO2", "xCO2_out"}},
    };
    Comparison comparison;
    samplesCompared = 0;
    for (const GoldenSample& g : readGolden()) {
        CarbonicAcid set;
        if (g.heading.find(", constants 13, KHSO4 1, pH scale 1,") != std::string::npos) {
            set = CarbonicAcid::kLueker2000;
        } else if (g.heading.find(", constants 1, KHSO4 1, pH scale 1,") != std::string::npos) {
            set = CarbonicAcid::kRoy1993;
        } else {
            continue;
        }
        if (g.values.at("P") != 0.0 || g.values.at("P_out") != 0.0) continue;
        // "# 12: tropical surface, TA+pCO2, constants 13, ..."
        const std::size_t start = g.heading.find(", ") + 2;
        const std::string pair = g.heading.substr(start, g.heading.find(',', start) - start);
        const std::string first = pair.substr(0, pair.find('+'));
        const std::string second = pair.substr(pair.find('+') + 1);
        ++samplesCompared;

        const Conditions conditions{g.values.at("S"), g.values.at("T"), g.values.at("TP"), g.values.at("TSi")};
        const auto K = independent::ConstantsAtSurface(conditions.S, conditions.TempC, set);
        const CarbonateSystem system = independent::SolveCarbonateSystem(
            conditions, K, kNames.at(first), g.values.at(first), kNames.at(second), g.values.at(second));
        Conditions outConditions = conditions;
        outConditions.TempC = g.values.at("T_out");
        const auto KOut = independent::ConstantsAtSurface(conditions.S, outConditions.TempC, set);
        const CarbonateSystem out = independent::SolveCarbonateSystem(outConditions, KOut, Parameter::kTA, system.TA,
                                                                      Parameter::kTCO2, system.TCO2);
        const std::string sample = g.heading.substr(2, g.heading.find(':') - 2);
        for (const Quantity& q : kQuantities) {
            const auto& [inName, outName] = kGoldenNames.at(q.name);
            comparison.compare("golden sample " + sample + " in", q, system.*q.member, g.values.at(inName));
            if (!outName.empty()) {
                comparison.compare("golden sample " + sample + " out", q, out.*q.member, g.values.at(outName));
            }
        }
    }
    return comparison;
}

TEST(IndependentCheck, GoldenSamplesAgreeWithTheRederivation) {
    int samples = 0;
    const Comparison c = CompareGolden(samples);
    // Sample 0 (Roy et al., TA+TCO2) and sample 12 (Lueker et al., TA+pCO2).
    EXPECT_EQ(samples, 2);
    EXPECT_EQ(c.values, 2 * (16 + 14));
    for (const std::string& m : c.mismatches) ADD_FAILURE() << m;
    EXPECT_LE(c.worstRatio, 1.0) << "worst: " << c.worst;
    RecordProperty("worst", c.worst);
}

// ---------------------------------------------------------------- the comparison can fail

// Roy et al. (1993) in place of Lueker et al. (2000): pK1 differs by 0.009
// and pK2 by 0.04 at 25 deg C, so pH, fCO2 and CO3 leave their tolerances.
TEST(IndependentCheck, AnotherAuthorsK1AndK2FailTheComparison) {
    int inputSides = 0;
    int outputSides = 0;
    const Comparison c = CompareCruise(CarbonicAcid::kRoy1993, independent::kBoronUppstrom1974, inputSides,
                                       outputSides);
    EXPECT_EQ(inputSides, 18);
    EXPECT_GT(c.mismatchesOf("pH"), 10);
    EXPECT_GT(c.mismatchesOf("fCO2"), 10);
    EXPECT_GT(c.mismatchesOf("CO3"), 10);
}

// The boron ratio of Lee et al. (2010), 0.1336 mg/kg per salinity unit
// (4% more total boron): the borate alkalinity leaves its tolerance.
TEST(IndependentCheck, AnotherAuthorsBoronRatioFailsTheComparison) {
    int inputSides = 0;
    int outputSides = 0;
    const double lee2010 = 0.0004326 / 35.0;
    const Comparison c = CompareCruise(CarbonicAcid::kLueker2000, lee2010, inputSides, outputSides);
    EXPECT_EQ(c.mismatchesOf("BAlk"), 18 + 17);
}

}  // namespace
}  // namespace brinora
