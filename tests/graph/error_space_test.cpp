// The error-space diagram of the worked case of Orr et al. (2018): S 35,
// T 18 deg C, P 0, TA 2300 and TCO2 2000 umol/kg, no nutrients, Lueker et al.
// (2000) constants on the total scale with KHSO4 of Dickson (1990);
// u(S) = u(T) = 0.01 and the constants' standard uncertainties. At
// u(TA) = u(TCO2) = 2 umol/kg u(pH) is 0.0119, as `brinora calc` prints it.
#include <gtest/gtest.h>

#include <cmath>

#include "graph/error_space.h"

namespace brinora::graph {
namespace {

using namespace uncertainty;

struct WorkedCase {
    std::array<Gradient, kQuantityCount> gradient;
    std::array<double, kSourceCount> u{};
    WorkedCase() {
        ChemistryOptions options;
        options.whichKs = 13;
        options.whichKSO4 = 1;
        options.pHScale = 1;
        options.fluxCode = 0;
        Sample sample;
        sample.first = 1;
        sample.second = 2;
        sample.x[kFirstParameter] = 2300.0;
        sample.x[kSecondParameter] = 2000.0;
        sample.x[kSalinity] = 35.0;
        sample.x[kTemperature] = 18.0;
        EXPECT_EQ(DifferentiateSample(options, sample, gradient), Outcome::kComputed);
        u[kSalinity] = 0.01;
        u[kTemperature] = 0.01;
        SetStandardConstantUncertainties(u);
    }
};

TEST(ErrorSpace, GridPointsAreThePropagation) {
    const WorkedCase worked;
    // 0..20 umol/kg in steps of 2.
    const ErrorSpace space = computeErrorSpace(worked.gradient, worked.u, 0.0, qpH, 20.0, 20.0, 11, 11);
    ASSERT_EQ(space.u.size(), 121u);
    EXPECT_EQ(space.firstAt(1), 2.0);
    EXPECT_EQ(space.secondAt(10), 20.0);
    EXPECT_NEAR(space.at(1, 1), 0.011895, 5e-7);

    // The far corner is the propagation with u(TA) = u(TCO2) = 20.
    std::array<double, kSourceCount> corner = worked.u;
    corner[kFirstParameter] = 20.0;
    corner[kSecondParameter] = 20.0;
    Propagated p;
    PropagateGradients(worked.gradient, CovarianceOf(corner, 0.0), p);
    EXPECT_EQ(space.at(10, 10), p.u[qpH]);
    // From the published derivatives dpH/dTA 1.5592e-3, dpH/dDIC -1.7154e-3 and
    // the other sources' 0.01095: sqrt(0.031184^2 + 0.034308^2 + 0.01095^2).
    EXPECT_NEAR(space.at(10, 10), 0.047638, 5e-6);
    // The near corner: no uncertainty of the pair.
    EXPECT_NEAR(space.at(0, 0), std::sqrt(space.constantsPart * space.constantsPart +
                                          space.otherPart * space.otherPart),
                1e-15);
}

TEST(ErrorSpace, ConstantsPartAndTheBalanceLevel) {
    const WorkedCase worked;
    const ErrorSpace space = computeErrorSpace(worked.gradient, worked.u, 0.0, qpH, 20.0, 20.0, 11, 11);
    // pK1 0.000302, pK2 0.0102, pKB 0.00263, pKW 0.000161, total boron 0.00297 (brinora calc --budget).
    EXPECT_NEAR(space.constantsPart, 0.010950, 5e-6);
    EXPECT_NEAR(space.otherPart, std::hypot(0.000127, 0.000154), 1e-6);
    EXPECT_NEAR(space.balanceLevel, std::sqrt(2.0 * space.constantsPart * space.constantsPart +
                                              space.otherPart * space.otherPart),
                1e-15);
}

TEST(ErrorSpace, ContourCrossesTheEdgesWhereTheLevelLies) {
    const WorkedCase worked;
    const ErrorSpace space = computeErrorSpace(worked.gradient, worked.u, 0.0, qpH, 20.0, 20.0, 11, 11);
    // A level halfway between the first two points of the bottom edge.
    const double level = (space.at(0, 0) + space.at(1, 0)) / 2.0;
    const std::vector<ContourSegment> segments = contourSegments(space, level);
    ASSERT_FALSE(segments.empty());
    const ContourSegment& first = segments.front();
    EXPECT_EQ(first.y0, 0.0);
    EXPECT_GT(first.x0, 0.0);
    EXPECT_LT(first.x0, 2.0);
    // u(pH) grows with both uncertainties: no segment reaches past a point above the level.
    for (const ContourSegment& s : segments) {
        EXPECT_LE(s.x0, 2.0);
        EXPECT_LE(s.x1, 2.0);
    }
    // Round levels between the corners.
    const std::vector<double> levels = contourLevels(space, 6);
    ASSERT_FALSE(levels.empty());
    EXPECT_DOUBLE_EQ(levels.front(), 0.02);
    EXPECT_DOUBLE_EQ(levels.back(), 0.04);
}

}  // namespace
}  // namespace brinora::graph
