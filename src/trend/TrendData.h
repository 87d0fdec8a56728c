#pragma once
// The numbers of a run, as the trend window plots them: every delivered
// record with the wall-clock time it was delivered, its record number and
// each field whose text reads as a number (FieldNumber.h). A field is plotted
// from the first record in which it reads as a number; until then it is
// listed as not numeric, with the text it last held. A later text value of a
// plotted field is a gap in its series, not a point.
//
// Memory is bounded: the last Capacity() records are kept (their storage is
// freed in blocks of 64, so up to 63 more may still occupy memory). The
// running statistics (Statistics) take every value, also those no longer
// kept. The points are kept in blocks of 64 records, and each block of a
// field keeps its extremes and the moments of its (time, value) pairs, so
// that drawing a long span (Decimate) and summarizing it (Summarize) read a
// block at a time wherever the span covers whole blocks.
//
// Fields are known by their number only: after the configuration is
// reloaded, field 2 goes on in the same series and statistics whatever its
// format now is, a field the record no longer has keeps what it had, and a
// new field appears with its first number.

#include "engine/Locale.h"
#include "trend/Statistics.h"

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trend {

constexpr int MaxTrendFields = 40;

// A point to draw: time in milliseconds since 1970 UTC.
struct TrendPoint {
    double time;
    double value;
    bool operator==(const TrendPoint&) const = default;
};

// What a span of a field holds.
struct SpanSummary {
    std::size_t count = 0;
    double last = 0; // the span's latest value; the rest as their names say
    double minimum = 0;
    double maximum = 0;
    double mean = 0;
    std::optional<double> standardDeviation; // sample; none below two values
    std::optional<double> ratePerMinute;     // least-squares slope of the span
};

// A copy of the kept records, for an export that runs beside the window.
struct TrendSnapshot {
    std::vector<int> fields; // the plotted fields, in number order
    std::vector<std::int64_t> times;
    std::vector<double> recordNumbers;
    std::vector<std::vector<double>> values; // values[k][row] of fields[k]; NaN: no number
};

class TrendData {
public:
    static constexpr std::size_t DefaultCapacity = 1'000'000;
    static constexpr std::size_t BlockSize = 64;

    explicit TrendData(const engine::Locale& locale, std::size_t capacity = DefaultCapacity);

    // A record delivered at timeMs (milliseconds since 1970 UTC). A time
    // earlier than the last record's (the clock was set back) counts as the
    // last record's, so the points stay in order.
    void Add(std::int64_t timeMs, std::string_view recordNumber,
             const std::vector<std::string>& fields);
    // Keeps the last `records` records from now on (at least 1); the oldest
    // go at once when there are more.
    void SetCapacity(std::size_t records);
    std::size_t Capacity() const { return capacity_; }
    // Forgets every record, series and statistic.
    void Clear();

    // Changes with every record added and every clear.
    std::uint64_t Revision() const { return revision_; }
    // Records added since the start or the last clear, and records kept.
    std::uint64_t Delivered() const { return endSeq_; }
    std::size_t Kept() const { return static_cast<std::size_t>(endSeq_ - firstSeq_); }
    // Times of the first and last kept records; none while nothing is kept.
    std::optional<std::int64_t> FirstTime() const;
    std::optional<std::int64_t> LastTime() const;
    // The number of fields of the last record.
    int FieldsDelivered() const { return fieldsDelivered_; }

    // Fields 1..40.
    bool IsPlotted(int field) const;
    std::vector<int> PlottedFields() const;
    // The fields of the last record that have never read as a number.
    std::vector<int> NotNumericFields() const;
    // The last text of a field that did not read as a number.
    const std::string& LastText(int field) const;
    const RunningStatistics& Statistics(int field) const;
    // The most decimals the field's numbers were sent with, and whether any
    // came with an exponent: how its figures are best shown.
    int Decimals(int field) const;
    bool Scientific(int field) const;

    // The kept values of a field delivered from `from` to `to` (inclusive).
    SpanSummary Summarize(int field, std::int64_t from, std::int64_t to) const;
    // The points to draw a field from `from` to `to` on a plot `buckets`
    // pixels wide, in time order: every point while there are few, else per
    // bucket (an equal share of the time) its lowest and highest point, so
    // that no extreme is lost. The nearest points outside the span come
    // along, so the line runs on to the plot's edges.
    std::vector<TrendPoint> Decimate(int field, std::int64_t from, std::int64_t to,
                                     std::size_t buckets) const;
    TrendSnapshot Snapshot() const;
    // What the kept records occupy.
    std::size_t MemoryBytes() const;

private:
    struct RecordBlock {
        std::array<std::int64_t, BlockSize> time;
        std::array<double, BlockSize> number;
    };
    struct ValueBlock {
        std::array<double, BlockSize> value; // NaN: no number
        Moments moments;                     // times in seconds from origin_
        std::uint8_t minAt = 0, maxAt = 0;   // valid once moments.count > 0
    };
    struct Column {
        std::uint64_t frontBlock = 0; // block number of blocks.front()
        std::deque<ValueBlock> blocks;
    };
    struct FieldState {
        RunningStatistics statistics;
        std::string lastText;
        int decimals = 0;
        bool scientific = false;
        std::optional<Column> column; // once plotted
    };

    std::int64_t TimeAt(std::uint64_t seq) const;
    double ValueAt(const Column& column, std::uint64_t seq) const;
    const ValueBlock* BlockAt(const Column& column, std::uint64_t block) const;
    double Seconds(std::int64_t timeMs) const;
    // The first kept record delivered at or after timeMs, and the first
    // after timeMs.
    std::uint64_t FirstAtOrAfter(std::int64_t timeMs) const;
    std::uint64_t FirstAfter(std::int64_t timeMs) const;
    void AddValue(Column& column, std::uint64_t seq, double seconds, double value);
    void Evict();

    engine::Locale locale_;
    std::size_t capacity_;
    std::uint64_t revision_ = 0;
    std::uint64_t firstSeq_ = 0;   // the first kept record
    std::uint64_t endSeq_ = 0;     // the next record's
    std::uint64_t frontBlock_ = 0; // block number of records_.front()
    std::deque<RecordBlock> records_;
    std::int64_t origin_ = 0; // the time block moments count from
    int fieldsDelivered_ = 0;
    std::array<FieldState, MaxTrendFields + 1> fields_; // entry 0 unused
};

} // namespace trend
