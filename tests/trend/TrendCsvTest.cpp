#include "trend/TrendCsv.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <random>
#include <sstream>

namespace {

// One CSV line as a spreadsheet reads it: quoted cells may hold commas and
// doubled quotes.
std::vector<std::string> Cells(const std::string& line) {
    std::vector<std::string> cells(1);
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quoted && c == '"' && i + 1 < line.size() && line[i + 1] == '"')
            cells.back() += line[++i];
        else if (c == '"')
            quoted = !quoted;
        else if (c == ',' && !quoted)
            cells.emplace_back();
        else
            cells.back() += c;
    }
    return cells;
}

double Number(const std::string& cell) {
    if (cell.empty())
        return NAN;
    double v = 0;
    const auto result = std::from_chars(cell.data(), cell.data() + cell.size(), v);
    EXPECT_EQ(result.ptr, cell.data() + cell.size()) << cell;
    return v;
}

} // namespace

TEST(TrendCsv, WritesLocalTimesAndReadsBackToTheSameNumbers) {
    trend::ManualWallClock clock;
    clock.offsetSeconds = 3600; // an hour east of UTC
    EXPECT_EQ(trend::LocalTimeText(0, clock), "1970-01-01 01:00:00.000");
    EXPECT_EQ(trend::LocalTimeText(1'795'000'000'007, clock), "2026-11-18 12:06:40.007");
    clock.offsetSeconds = -5 * 3600;
    EXPECT_EQ(trend::LocalTimeText(1'795'000'000'999, clock), "2026-11-18 06:06:40.999");

    // Values that only an exact writer brings back, text gaps, and a label
    // that needs quoting.
    trend::TrendData data(engine::Locale{});
    std::mt19937 random(5);
    std::uniform_real_distribution<double> any(-1e6, 1e6);
    std::vector<std::vector<std::string>> sent;
    for (int i = 0; i < 500; ++i) {
        char a[40], b[40];
        std::snprintf(a, sizeof a, "%.17g", any(random));
        std::snprintf(b, sizeof b, "%.3f", 0.1 * i);
        sent.push_back({a, i % 10 == 3 ? "OL" : b, "ST"});
        data.Add(1'795'000'000'000 + i * 250, std::to_string(i + 1), sent.back());
    }
    std::ostringstream out;
    ASSERT_TRUE(trend::WriteTrendCsv(out, data.Snapshot(),
                                     {"Field 1 (#,##0.00)", "Field 2 \"raw\""}, clock));

    std::istringstream in(out.str());
    std::string line;
    std::getline(in, line);
    EXPECT_EQ(Cells(line), (std::vector<std::string>{"time", "record", "Field 1 (#,##0.00)",
                                                     "Field 2 \"raw\""}));
    const trend::TrendSnapshot expected = data.Snapshot();
    std::size_t row = 0;
    for (; std::getline(in, line); ++row) {
        ASSERT_LT(row, sent.size());
        const auto cells = Cells(line);
        ASSERT_EQ(cells.size(), 4u) << line;
        EXPECT_EQ(cells[0], trend::LocalTimeText(expected.times[row], clock));
        EXPECT_EQ(Number(cells[1]), double(row + 1));
        EXPECT_EQ(Number(cells[2]), std::stod(sent[row][0])) << line;
        if (sent[row][1] == "OL")
            EXPECT_TRUE(cells[3].empty()) << line;
        else
            EXPECT_EQ(Number(cells[3]), std::stod(sent[row][1])) << line;
    }
    EXPECT_EQ(row, sent.size());
}
