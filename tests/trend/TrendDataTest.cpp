#include "trend/TrendData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

using trend::TrendData;
using trend::TrendPoint;

namespace {

constexpr std::int64_t Start = 1'795'000'000'000;

std::vector<std::string> Fields(std::initializer_list<std::string> texts) {
    return texts;
}

// What a span holds, counted point by point from a snapshot.
struct Brute {
    std::size_t count = 0;
    double minimum = INFINITY, maximum = -INFINITY, sum = 0;
};
Brute BruteSpan(const trend::TrendSnapshot& s, std::size_t k, std::int64_t from, std::int64_t to) {
    Brute b;
    for (std::size_t row = 0; row < s.times.size(); ++row) {
        const double v = s.values[k][row];
        if (s.times[row] < from || s.times[row] > to || std::isnan(v))
            continue;
        ++b.count;
        b.sum += v;
        b.minimum = std::min(b.minimum, v);
        b.maximum = std::max(b.maximum, v);
    }
    return b;
}

} // namespace

TEST(TrendData, PlotsFieldsThatReadAsNumbersAndListsTheOthers) {
    TrendData data(engine::Locale{});
    data.Add(Start, "1", Fields({"ST", "12.5 g", "2026-11-24", "x"}));
    data.Add(Start + 100, "2", Fields({"ST", "12.7 g", "2026-11-24", "4"}));
    EXPECT_EQ(data.PlottedFields(), (std::vector<int>{2, 4}));
    EXPECT_EQ(data.NotNumericFields(), (std::vector<int>{1, 3}));
    EXPECT_EQ(data.LastText(1), "ST");
    EXPECT_EQ(data.LastText(3), "2026-11-24");
    // Field 4 began with a text: its series begins with its first number.
    EXPECT_EQ(data.Decimate(4, Start, Start + 100, 100),
              (std::vector<TrendPoint>{{double(Start + 100), 4}}));
    EXPECT_EQ(data.Decimate(2, Start, Start + 100, 100),
              (std::vector<TrendPoint>{{double(Start), 12.5}, {double(Start + 100), 12.7}}));
    // A text in a plotted field is a gap, not a point, and not counted.
    data.Add(Start + 200, "3", Fields({"ST", "OL", "2026-11-24", "5"}));
    EXPECT_EQ(data.Decimate(2, Start, Start + 200, 100).size(), 2u);
    EXPECT_EQ(data.Statistics(2).Count(), 2u);
    EXPECT_EQ(data.Decimals(2), 1);
    // A reload to a record of two fields: field 4 keeps what it had.
    data.Add(Start + 300, "4", Fields({"ST", "12.9 g"}));
    EXPECT_EQ(data.PlottedFields(), (std::vector<int>{2, 4}));
    EXPECT_EQ(data.NotNumericFields(), (std::vector<int>{1}));
    EXPECT_EQ(data.Statistics(4).Count(), 2u);

    data.Clear();
    EXPECT_TRUE(data.PlottedFields().empty());
    EXPECT_EQ(data.Kept(), 0u);
    EXPECT_FALSE(data.LastTime());
}

TEST(TrendData, KeepsTheLastCapacityRecordsWhileStatisticsTakeEveryValue) {
    TrendData data(engine::Locale{}, 1000);
    auto add = [&](int from, int to) {
        for (int i = from; i < to; ++i)
            data.Add(Start + i * 10, std::to_string(i + 1), Fields({std::to_string(i % 7)}));
    };
    add(0, 5000);
    EXPECT_EQ(data.Kept(), 1000u);
    EXPECT_EQ(data.Delivered(), 5000u);
    EXPECT_EQ(*data.FirstTime(), Start + 4000 * 10);
    EXPECT_EQ(data.Statistics(1).Count(), 5000u);
    const trend::TrendSnapshot snapshot = data.Snapshot();
    ASSERT_EQ(snapshot.times.size(), 1000u);
    EXPECT_EQ(snapshot.recordNumbers.front(), 4001);
    EXPECT_EQ(snapshot.values[0].front(), 4000 % 7);
    // The points of a span that began before the first kept record start
    // with that record.
    const auto all = data.Decimate(1, Start, Start + 50000, 10000);
    EXPECT_EQ(all.size(), 1000u);
    EXPECT_EQ(all.front().time, double(Start + 4000 * 10));

    // Memory stays where it was however long the run goes on.
    const std::size_t bytes = data.MemoryBytes();
    add(5000, 50000);
    EXPECT_EQ(data.Kept(), 1000u);
    EXPECT_EQ(data.MemoryBytes(), bytes);

    // A smaller capacity drops the oldest at once; the rest stay as they were.
    data.SetCapacity(10);
    EXPECT_EQ(data.Kept(), 10u);
    EXPECT_EQ(data.Snapshot().recordNumbers.front(), 49991);
    EXPECT_LT(data.MemoryBytes(), bytes);
}

TEST(TrendData, AClockSetBackKeepsThePointsInOrder) {
    TrendData data(engine::Locale{});
    data.Add(Start, "1", Fields({"1"}));
    data.Add(Start - 60000, "2", Fields({"2"}));
    data.Add(Start + 5, "3", Fields({"3"}));
    EXPECT_EQ(data.Snapshot().times, (std::vector<std::int64_t>{Start, Start, Start + 5}));
}

TEST(TrendData, SpanSummariesFromBlocksEqualThoseCountedPointByPoint) {
    // Irregular arrival, text gaps, and a capacity that cuts a block in two:
    // every span must sum up as its points do.
    TrendData data(engine::Locale{}, 5000);
    std::mt19937 random(11);
    std::uniform_int_distribution<int> gap(0, 40);
    std::normal_distribution<double> noise(100.0, 3.0);
    std::int64_t t = Start;
    for (int i = 0; i < 7777; ++i) {
        t += gap(random);
        const bool text = i % 97 == 5;
        data.Add(t, std::to_string(i), Fields({text ? "OL" : std::to_string(noise(random))}));
    }
    const trend::TrendSnapshot s = data.Snapshot();
    std::uniform_int_distribution<std::int64_t> at(*data.FirstTime() - 500, t + 500);
    for (int round = 0; round < 200; ++round) {
        std::int64_t from = at(random), to = at(random);
        if (from > to)
            std::swap(from, to);
        const trend::SpanSummary span = data.Summarize(1, from, to);
        const Brute b = BruteSpan(s, 0, from, to);
        ASSERT_EQ(span.count, b.count) << from << ".." << to;
        if (b.count == 0)
            continue;
        EXPECT_EQ(span.minimum, b.minimum);
        EXPECT_EQ(span.maximum, b.maximum);
        EXPECT_NEAR(span.mean, b.sum / double(b.count), 1e-9);
    }
}

TEST(TrendData, TheRateIsTheSlopeOfTheSpanPerMinute) {
    TrendData data(engine::Locale{});
    // 0.5 units a second for ten minutes, one record a second.
    for (int i = 0; i <= 600; ++i)
        data.Add(Start + i * 1000, std::to_string(i), Fields({std::to_string(20 + 0.5 * i)}));
    const auto lastMinute = data.Summarize(1, Start + 540000, Start + 600000);
    EXPECT_EQ(lastMinute.count, 61u);
    EXPECT_NEAR(*lastMinute.ratePerMinute, 30.0, 1e-9);
    EXPECT_EQ(lastMinute.last, 320.0);
    EXPECT_FALSE(data.Summarize(1, Start, Start).ratePerMinute); // one point: no rate
}

TEST(TrendData, DecimationKeepsEveryExtremeAndDrawsFewPoints) {
    TrendData data(engine::Locale{});
    std::mt19937 random(3);
    std::normal_distribution<double> noise(0.0, 1.0);
    const int n = 300000;
    for (int i = 0; i < n; ++i) {
        double v = noise(random);
        if (i == 123457)
            v = 1000; // one spike up
        if (i == 250001)
            v = -1000; // and one down
        data.Add(Start + i * 20, std::to_string(i), Fields({std::to_string(v)}));
    }
    const std::int64_t end = Start + std::int64_t(n - 1) * 20;
    const std::size_t buckets = 800;
    const auto points = data.Decimate(1, Start, end, buckets);
    ASSERT_LE(points.size(), 2 * buckets + 2);
    EXPECT_TRUE(std::is_sorted(points.begin(), points.end(),
                               [](auto& a, auto& b) { return a.time < b.time; }));
    EXPECT_NE(
        std::find(points.begin(), points.end(), TrendPoint{double(Start + 123457 * 20), 1000}),
        points.end());
    EXPECT_NE(
        std::find(points.begin(), points.end(), TrendPoint{double(Start + 250001 * 20), -1000}),
        points.end());
    // Each bucket's lowest and highest value is drawn: the drawn extremes of
    // every bucket equal those counted point by point.
    const trend::TrendSnapshot s = data.Snapshot();
    const double width = double(end - Start + 1) / buckets;
    auto bucketOf = [&](double time) { return std::size_t((time - double(Start)) / width); };
    std::vector<double> low(buckets, INFINITY), high(buckets, -INFINITY);
    std::vector<double> drawnLow = low, drawnHigh = high;
    for (std::size_t row = 0; row < s.times.size(); ++row) {
        const std::size_t b = bucketOf(double(s.times[row]));
        low[b] = std::min(low[b], s.values[0][row]);
        high[b] = std::max(high[b], s.values[0][row]);
    }
    for (const TrendPoint& p : points) {
        const std::size_t b = bucketOf(p.time);
        drawnLow[b] = std::min(drawnLow[b], p.value);
        drawnHigh[b] = std::max(drawnHigh[b], p.value);
    }
    EXPECT_EQ(drawnLow, low);
    EXPECT_EQ(drawnHigh, high);
    // A short span: every point, and the neighbours just outside it.
    const auto few = data.Decimate(1, Start + 100 * 20, Start + 109 * 20, buckets);
    ASSERT_EQ(few.size(), 12u);
    EXPECT_EQ(few.front().time, double(Start + 99 * 20));
    EXPECT_EQ(few.back().time, double(Start + 110 * 20));
}
