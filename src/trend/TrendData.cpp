#include "trend/TrendData.h"

#include "engine/Value.h"
#include "trend/FieldNumber.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace trend {

namespace {

constexpr double NoNumber = std::numeric_limits<double>::quiet_NaN();
// A text that is shown in the list of fields that are not numbers is kept to
// this length.
constexpr std::size_t MaxKeptText = 40;

} // namespace

TrendData::TrendData(const engine::Locale& locale, std::size_t capacity)
    : locale_(locale), capacity_(std::max<std::size_t>(capacity, 1)) {}

void TrendData::Clear() {
    records_.clear();
    firstSeq_ = endSeq_ = frontBlock_ = 0;
    fieldsDelivered_ = 0;
    fields_ = {};
    ++revision_;
}

void TrendData::SetCapacity(std::size_t records) {
    capacity_ = std::max<std::size_t>(records, 1);
    Evict();
    ++revision_;
}

double TrendData::Seconds(std::int64_t timeMs) const {
    return static_cast<double>(timeMs - origin_) / 1000.0;
}

void TrendData::Add(std::int64_t timeMs, std::string_view recordNumber,
                    const std::vector<std::string>& fields) {
    const std::uint64_t seq = endSeq_++;
    if (seq == 0)
        origin_ = timeMs;
    else
        timeMs = std::max(timeMs, TimeAt(seq - 1));
    if (records_.empty())
        frontBlock_ = seq / BlockSize;
    if (seq % BlockSize == 0 || records_.empty())
        records_.emplace_back();
    RecordBlock& block = records_.back();
    block.time[seq % BlockSize] = timeMs;
    std::size_t used = 0;
    const double number = engine::LeadingNumber(recordNumber, locale_.DecimalSeparator, &used);
    block.number[seq % BlockSize] = used ? number : NoNumber;

    const double seconds = Seconds(timeMs);
    fieldsDelivered_ = std::min(static_cast<int>(fields.size()), MaxTrendFields);
    for (int i = 1; i <= fieldsDelivered_; ++i) {
        FieldState& field = fields_[static_cast<std::size_t>(i)];
        const std::string& text = fields[static_cast<std::size_t>(i - 1)];
        const std::optional<FieldNumber> read = ReadFieldNumber(text, locale_);
        if (!read) {
            field.lastText.assign(text, 0, std::min(text.size(), MaxKeptText));
            continue;
        }
        if (!field.column) {
            field.column = Column{};
            field.column->frontBlock = seq / BlockSize;
        }
        field.statistics.Add(read->value);
        field.decimals = std::max(field.decimals, std::min(read->decimals, 12));
        field.scientific = field.scientific || read->scientific;
        AddValue(*field.column, seq, seconds, read->value);
    }
    Evict();
    ++revision_;
}

void TrendData::AddValue(Column& column, std::uint64_t seq, double seconds, double value) {
    const std::uint64_t number = seq / BlockSize;
    while (column.frontBlock + column.blocks.size() <= number) {
        column.blocks.emplace_back();
        column.blocks.back().value.fill(NoNumber);
    }
    ValueBlock& block = column.blocks.back();
    const auto at = static_cast<std::uint8_t>(seq % BlockSize);
    block.value[at] = value;
    if (block.moments.count == 0 || value < block.value[block.minAt])
        block.minAt = at;
    if (block.moments.count == 0 || value > block.value[block.maxAt])
        block.maxAt = at;
    block.moments.Add(seconds, value);
}

void TrendData::Evict() {
    if (Kept() <= capacity_)
        return;
    firstSeq_ = endSeq_ - capacity_;
    // Blocks wholly before the first kept record are freed; the first block
    // may still hold older records, which no query reads (they begin at
    // firstSeq_, and a block is taken whole only when the query covers it).
    const std::uint64_t keepFrom = firstSeq_ / BlockSize;
    while (frontBlock_ < keepFrom && !records_.empty()) {
        records_.pop_front();
        ++frontBlock_;
    }
    for (FieldState& field : fields_) {
        if (!field.column)
            continue;
        Column& column = *field.column;
        while (column.frontBlock < keepFrom && !column.blocks.empty()) {
            column.blocks.pop_front();
            ++column.frontBlock;
        }
        if (column.blocks.empty())
            column.frontBlock = keepFrom;
    }
}

std::int64_t TrendData::TimeAt(std::uint64_t seq) const {
    return records_[seq / BlockSize - frontBlock_].time[seq % BlockSize];
}

const TrendData::ValueBlock* TrendData::BlockAt(const Column& column, std::uint64_t block) const {
    if (block < column.frontBlock || block - column.frontBlock >= column.blocks.size())
        return nullptr;
    return &column.blocks[block - column.frontBlock];
}

double TrendData::ValueAt(const Column& column, std::uint64_t seq) const {
    const ValueBlock* block = BlockAt(column, seq / BlockSize);
    return block ? block->value[seq % BlockSize] : NoNumber;
}

std::optional<std::int64_t> TrendData::FirstTime() const {
    if (Kept() == 0)
        return std::nullopt;
    return TimeAt(firstSeq_);
}

std::optional<std::int64_t> TrendData::LastTime() const {
    if (Kept() == 0)
        return std::nullopt;
    return TimeAt(endSeq_ - 1);
}

// The first kept record for which before is false (times only grow).
template <typename Before>
static std::uint64_t FirstNotBefore(std::uint64_t first, std::uint64_t end, Before before) {
    while (first < end) {
        const std::uint64_t middle = first + (end - first) / 2;
        if (before(middle))
            first = middle + 1;
        else
            end = middle;
    }
    return first;
}

std::uint64_t TrendData::FirstAtOrAfter(std::int64_t timeMs) const {
    return FirstNotBefore(firstSeq_, endSeq_,
                          [&](std::uint64_t seq) { return TimeAt(seq) < timeMs; });
}

std::uint64_t TrendData::FirstAfter(std::int64_t timeMs) const {
    return FirstNotBefore(firstSeq_, endSeq_,
                          [&](std::uint64_t seq) { return TimeAt(seq) <= timeMs; });
}

bool TrendData::IsPlotted(int field) const {
    return field >= 1 && field <= MaxTrendFields &&
           fields_[static_cast<std::size_t>(field)].column.has_value();
}

std::vector<int> TrendData::PlottedFields() const {
    std::vector<int> out;
    for (int i = 1; i <= MaxTrendFields; ++i)
        if (IsPlotted(i))
            out.push_back(i);
    return out;
}

std::vector<int> TrendData::NotNumericFields() const {
    std::vector<int> out;
    for (int i = 1; i <= fieldsDelivered_; ++i)
        if (!IsPlotted(i))
            out.push_back(i);
    return out;
}

const std::string& TrendData::LastText(int field) const {
    return fields_[static_cast<std::size_t>(std::clamp(field, 0, MaxTrendFields))].lastText;
}

const RunningStatistics& TrendData::Statistics(int field) const {
    return fields_[static_cast<std::size_t>(std::clamp(field, 0, MaxTrendFields))].statistics;
}

int TrendData::Decimals(int field) const {
    return fields_[static_cast<std::size_t>(std::clamp(field, 0, MaxTrendFields))].decimals;
}

bool TrendData::Scientific(int field) const {
    return fields_[static_cast<std::size_t>(std::clamp(field, 0, MaxTrendFields))].scientific;
}

SpanSummary TrendData::Summarize(int field, std::int64_t from, std::int64_t to) const {
    SpanSummary out;
    if (!IsPlotted(field) || to < from)
        return out;
    const Column& column = *fields_[static_cast<std::size_t>(field)].column;
    const std::uint64_t begin = FirstAtOrAfter(from);
    const std::uint64_t end = FirstAfter(to);
    Moments moments;
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -minimum;
    for (std::uint64_t seq = begin; seq < end;) {
        const ValueBlock* block = BlockAt(column, seq / BlockSize);
        if (!block) {
            seq = (seq / BlockSize + 1) * BlockSize;
            continue;
        }
        if (seq % BlockSize == 0 && seq + BlockSize <= end) {
            // A whole block: its moments and extremes as they are.
            if (block->moments.count > 0) {
                moments.Merge(block->moments);
                minimum = std::min(minimum, block->value[block->minAt]);
                maximum = std::max(maximum, block->value[block->maxAt]);
            }
            seq += BlockSize;
            continue;
        }
        const double value = block->value[seq % BlockSize];
        if (!std::isnan(value)) {
            moments.Add(Seconds(TimeAt(seq)), value);
            minimum = std::min(minimum, value);
            maximum = std::max(maximum, value);
        }
        ++seq;
    }
    if (moments.count == 0)
        return out;
    out.count = static_cast<std::size_t>(moments.count);
    out.minimum = minimum;
    out.maximum = maximum;
    out.mean = moments.meanValue;
    out.standardDeviation = moments.StandardDeviation();
    if (const std::optional<double> slope = moments.Slope())
        out.ratePerMinute = *slope * 60.0;
    for (std::uint64_t seq = end; seq > begin; --seq)
        if (const double value = ValueAt(column, seq - 1); !std::isnan(value)) {
            out.last = value;
            break;
        }
    return out;
}

std::vector<TrendPoint> TrendData::Decimate(int field, std::int64_t from, std::int64_t to,
                                            std::size_t buckets) const {
    std::vector<TrendPoint> out;
    if (!IsPlotted(field) || to < from || Kept() == 0)
        return out;
    const Column& column = *fields_[static_cast<std::size_t>(field)].column;
    const std::uint64_t begin = FirstAtOrAfter(from);
    const std::uint64_t end = FirstAfter(to);
    auto point = [&](std::uint64_t seq) {
        if (const double value = ValueAt(column, seq); !std::isnan(value))
            out.push_back({static_cast<double>(TimeAt(seq)), value});
    };
    // The neighbours outside the span, so the line reaches the edges.
    if (begin > firstSeq_)
        point(begin - 1);
    buckets = std::max<std::size_t>(buckets, 1);
    if (end - begin <= 4 * buckets) {
        for (std::uint64_t seq = begin; seq < end; ++seq)
            point(seq);
    } else {
        const double width = static_cast<double>(to - from + 1) / static_cast<double>(buckets);
        auto bucketOf = [&](std::uint64_t seq) {
            return static_cast<std::size_t>(static_cast<double>(TimeAt(seq) - from) / width);
        };
        // The lowest and highest point of the bucket being gathered.
        std::size_t current = std::numeric_limits<std::size_t>::max();
        std::uint64_t lowAt = 0, highAt = 0;
        double low = 0, high = 0;
        bool any = false;
        auto flush = [&] {
            if (!any)
                return;
            point(std::min(lowAt, highAt));
            if (lowAt != highAt)
                point(std::max(lowAt, highAt));
            any = false;
        };
        auto take = [&](std::uint64_t seq, double value) {
            if (!any || value < low) {
                low = value;
                lowAt = seq;
            }
            if (!any || value > high) {
                high = value;
                highAt = seq;
            }
            any = true;
        };
        for (std::uint64_t seq = begin; seq < end;) {
            const std::size_t bucket = bucketOf(seq);
            if (bucket != current) {
                flush();
                current = bucket;
            }
            const std::uint64_t blockStart = seq / BlockSize * BlockSize;
            const ValueBlock* block = BlockAt(column, seq / BlockSize);
            if (!block) {
                seq = blockStart + BlockSize;
                continue;
            }
            if (seq == blockStart && seq + BlockSize <= end &&
                bucketOf(seq + BlockSize - 1) == bucket) {
                // A whole block within one bucket: its two extremes.
                if (block->moments.count > 0) {
                    take(blockStart + block->minAt, block->value[block->minAt]);
                    take(blockStart + block->maxAt, block->value[block->maxAt]);
                }
                seq += BlockSize;
                continue;
            }
            if (const double value = block->value[seq % BlockSize]; !std::isnan(value))
                take(seq, value);
            ++seq;
        }
        flush();
    }
    if (end < endSeq_)
        point(end);
    return out;
}

TrendSnapshot TrendData::Snapshot() const {
    TrendSnapshot out;
    out.fields = PlottedFields();
    const std::size_t rows = Kept();
    out.times.reserve(rows);
    out.recordNumbers.reserve(rows);
    for (std::uint64_t seq = firstSeq_; seq < endSeq_; ++seq) {
        out.times.push_back(TimeAt(seq));
        out.recordNumbers.push_back(
            records_[seq / BlockSize - frontBlock_].number[seq % BlockSize]);
    }
    for (int field : out.fields) {
        const Column& column = *fields_[static_cast<std::size_t>(field)].column;
        std::vector<double>& values = out.values.emplace_back();
        values.reserve(rows);
        for (std::uint64_t seq = firstSeq_; seq < endSeq_; ++seq)
            values.push_back(ValueAt(column, seq));
    }
    return out;
}

std::size_t TrendData::MemoryBytes() const {
    std::size_t bytes = records_.size() * sizeof(RecordBlock);
    for (const FieldState& field : fields_)
        if (field.column)
            bytes += field.column->blocks.size() * sizeof(ValueBlock);
    return bytes;
}

} // namespace trend
