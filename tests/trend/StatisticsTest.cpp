#include "trend/Statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

using trend::Moments;
using trend::RunningStatistics;

TEST(TrendStatistics, KnownDataASingleValueAndAConstantSeries) {
    RunningStatistics known;
    for (double v : {2.0, 4.0, 4.0, 4.0, 5.0, 5.0, 7.0, 9.0})
        known.Add(v);
    EXPECT_EQ(known.Count(), 8u);
    EXPECT_EQ(known.Last(), 9.0);
    EXPECT_EQ(known.Minimum(), 2.0);
    EXPECT_EQ(known.Maximum(), 9.0);
    EXPECT_DOUBLE_EQ(known.Mean(), 5.0);
    ASSERT_TRUE(known.StandardDeviation());
    EXPECT_DOUBLE_EQ(*known.StandardDeviation(), std::sqrt(32.0 / 7.0)); // sample deviation

    RunningStatistics single;
    single.Add(-3.25);
    EXPECT_EQ(single.Count(), 1u);
    EXPECT_EQ(single.Minimum(), -3.25);
    EXPECT_EQ(single.Maximum(), -3.25);
    EXPECT_EQ(single.Mean(), -3.25);
    EXPECT_FALSE(single.StandardDeviation()); // no spread from one value

    // 0.1 has no exact binary form: summing squares would leave a residue.
    RunningStatistics constant;
    Moments constantMoments;
    for (int i = 0; i < 100000; ++i) {
        constant.Add(0.1);
        constantMoments.Add(i * 0.25, 0.1);
    }
    EXPECT_EQ(constant.Mean(), 0.1);
    EXPECT_EQ(*constant.StandardDeviation(), 0.0);
    EXPECT_EQ(*constantMoments.StandardDeviation(), 0.0);
    EXPECT_EQ(*constantMoments.Slope(), 0.0);
}

TEST(TrendStatistics, MergedMomentsEqualThoseOfAllPointsAndGiveTheSlope) {
    std::mt19937 random(7);
    std::normal_distribution<double> noise(0.0, 0.5);
    std::vector<std::pair<double, double>> points;
    for (int i = 0; i < 1000; ++i)
        points.emplace_back(1000.0 + i * 0.1, 3.0 * i * 0.1 + 1.0 + noise(random));
    Moments all;
    for (auto [t, v] : points)
        all.Add(t, v);
    // The same points in uneven parts, merged (empty parts included).
    Moments merged;
    std::size_t at = 0;
    for (std::size_t size : {0u, 1u, 63u, 64u, 200u, 0u, 672u}) {
        Moments part;
        for (std::size_t i = at; i < at + size; ++i)
            part.Add(points[i].first, points[i].second);
        merged.Merge(part);
        at += size;
    }
    ASSERT_EQ(at, points.size());
    EXPECT_EQ(merged.count, all.count);
    EXPECT_NEAR(merged.meanValue, all.meanValue, 1e-12);
    EXPECT_NEAR(*merged.StandardDeviation(), *all.StandardDeviation(), 1e-9);
    EXPECT_NEAR(*merged.Slope(), *all.Slope(), 1e-9);
    EXPECT_NEAR(*all.Slope(), 3.0, 0.05);

    Moments oneTime;
    oneTime.Add(5, 1);
    oneTime.Add(5, 2);
    EXPECT_FALSE(oneTime.Slope()); // no time passed: no rate
}
