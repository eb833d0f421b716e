// The desktop program with samples for which the pH iteration never
// converges: the iteration cap ends every solve, the calculation returns, and
// the window goes on answering.
#include <chrono>
#include <cstdio>

#include "engine/slots.h"
#include "gui_fixture.h"
#include "solvers/pair_solvers.h"

namespace brinora::testing {
namespace {

using Clock = std::chrono::steady_clock;

TEST_F(WindowTest, NeverConvergingSampleLeavesTheWindowUsable) {
    // Fresh water with little alkalinity and much silicate, constants set 1:
    // the iteration bounces for ever.
    chooseOptions(1, 1, 1, 1);
    type(11, "0");
    type(12, "25");
    type(15, "100");
    type(18, "20");
    type(19, "10");
    const Clock::time_point started = Clock::now();
    click(window->calculateButton());
    const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
    std::printf("never-converging sample calculated in %.3f s\n", seconds);
    ASSERT_TRUE(dialogs.errors.empty()) << dialogs.errors.front().localizedDescription;
    EXPECT_EQ(lastNewtonSteps(), kMaxNewtonSteps) << "the sample converged; it no longer tests the cap";
    EXPECT_FALSE(shown(slot::kpHIn).empty());
    EXPECT_EQ(shown(slot::kTAOut), "20.000");

    // The window still answers: Clear empties it, and an ordinary sample is
    // calculated as usual.
    QApplication::processEvents();
    click(window->clearButton());
    EXPECT_TRUE(shown(slot::kpHIn).empty());
    EXPECT_EQ(slotValue(slot::kSalinity), 0.0f);
    chooseOptions();
    typeSample();
    click(window->calculateButton());
    ASSERT_TRUE(dialogs.errors.empty()) << dialogs.errors.front().localizedDescription;
    EXPECT_EQ(shown(slot::kTAOut), "2300.000");
    EXPECT_LT(lastNewtonSteps(), 100);
}

TEST_F(WindowTest, InfiniteAlkalinityIsCalculatedAndTheWindowGoesOn) {
    // 1e39 micromol/kg is beyond the float range: an infinite TA, whose
    // first Newton step is infinite.
    chooseOptions();
    type(11, "35");
    type(12, "25");
    type(18, "1e39");
    type(19, "2000");
    click(window->calculateButton());
    ASSERT_TRUE(dialogs.errors.empty()) << dialogs.errors.front().localizedDescription;
    EXPECT_EQ(lastNewtonSteps(), 1);
    EXPECT_EQ(shown(slot::kpHIn), "nan");
    click(window->clearButton());
    typeSample();
    click(window->calculateButton());
    EXPECT_EQ(shown(slot::kTAOut), "2300.000");
}

}  // namespace
}  // namespace brinora::testing
