// Samples for which the Newton solvers never converge, and values that once
// made a solver step for ever: the iteration cap of the calculation core ends
// each solve, so every command finishes.
#include "fault_fixture.h"

namespace brinora::faults {
namespace {

// Fresh water with little alkalinity and much silicate: the pH iteration
// bounces for ever and runs to its cap of 500000 steps (about 30 ms per
// solve in a release build, up to six solves per sample).
const std::vector<std::string> kNeverConverges = {"--salinity", "0",  "--temperature", "25", "--ta", "20",
                                                  "--tco2",     "10", "--silicate",    "100"};

class NeverConverging : public FaultTest {};

std::vector<std::string> calc(const std::vector<std::string>& sample) {
    std::vector<std::string> args{"calc"};
    args.insert(args.end(), sample.begin(), sample.end());
    args.insert(args.end(), kOptions.begin(), kOptions.end());
    return args;
}

TEST_F(NeverConverging, CalcFinishesAtTheIterationCap) {
    const Outcome outcome = run({.arguments = calc(kNeverConverges)});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("pH "), std::string::npos) << outcome.out;
    EXPECT_LT(outcome.seconds, 3.0 * slowdown());
}

TEST_F(NeverConverging, InfiniteAlkalinityFinishes) {
    // 1e39 micromol/kg is beyond the float range: TA is infinite and the first
    // Newton step is infinite; it once halved that step for ever.
    for (const char* ta : {"1e39", "-1e39"}) {
        const Outcome outcome = run({.arguments = calc({"--salinity", "35", "--temperature", "25", "--ta", ta,
                                                        "--tco2", "2000"})});
        EXPECT_EQ(outcome.signal, 0);
        EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << outcome.err;
        EXPECT_LT(outcome.seconds, 2.0 * slowdown());
    }
    for (const char* fco2 : {"1e39", "3e38"}) {
        const Outcome outcome = run({.arguments = calc({"--salinity", "35", "--temperature", "25", "--ta", "2300",
                                                        "--fco2", fco2})});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_LT(outcome.seconds, 2.0 * slowdown());
    }
}

TEST_F(NeverConverging, BatchOfNonConvergingSamplesFinishes) {
    std::string text = kInputHeader + "\n";
    for (int n = 1; n <= 4; ++n) text += std::to_string(n) + ",Fresh,,,0,0,0,25,0,0,100,,,20,10,,,,,,ok\n";
    text += "5,Infinite,,,0,0,35,25,0,0,0,,,1e39,2000,,,,,,ok\n";
    text += "6,Infinite,,,0,0,35,25,0,0,0,,,2300,,,1e39,,,,ok\n";
    const std::string in = input(text);
    // About 0.2 s per sample in a release build; the bound only tells a slow
    // machine from a hang.
    const double bound = 6 * 3.0 * slowdown();
    const Outcome outcome = run({.arguments = batchArgs(in, path("out.csv"))});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_LT(outcome.seconds, bound);
    const std::vector<std::string> ids = wholeRecordIds(readFile(path("out.csv")));
    EXPECT_EQ(ids.size(), 6u);

    std::vector<std::string> kml{"kml", in, "-o", path("out.kml"), "--force"};
    kml.insert(kml.end(), kOptions.begin(), kOptions.end());
    const Outcome placemarks = run({.arguments = kml});
    EXPECT_EQ(placemarks.status, 0) << placemarks.err;
    EXPECT_LT(placemarks.seconds, bound);
}

}  // namespace
}  // namespace brinora::faults
