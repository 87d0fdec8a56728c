#include "output/RecordQueue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace output {

namespace {

// Segments are started anew past this size (or a quarter of the queue's
// limit, when that is less), so that acknowledged entries leave the disk
// soon and room comes free long before the limit.
constexpr std::uint64_t SegmentBytes = 1 << 20;
constexpr const char* HeadFile = "head";
constexpr std::size_t FrameHeader = 8; // length and CRC-32
constexpr std::size_t BodyHeader = 6;  // QoS, retain, topic length

std::uint32_t Crc32(std::string_view bytes) {
    static const std::array<std::uint32_t, 256> table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t c = i;
            for (int k = 0; k < 8; ++k)
                c = c & 1 ? 0xedb88320u ^ (c >> 1) : c >> 1;
            t[i] = c;
        }
        return t;
    }();
    std::uint32_t crc = 0xffffffffu;
    for (char ch : bytes)
        crc = table[(crc ^ static_cast<unsigned char>(ch)) & 0xffu] ^ (crc >> 8);
    return crc ^ 0xffffffffu;
}

void PutU32(std::string& out, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        out += static_cast<char>((v >> (8 * i)) & 0xffu);
}

std::uint32_t GetU32(std::string_view in) {
    std::uint32_t v = 0;
    for (int i = 3; i >= 0; --i)
        v = (v << 8) | static_cast<unsigned char>(in[static_cast<std::size_t>(i)]);
    return v;
}

std::uint64_t FrameSize(const QueuedMessage& m) {
    return FrameHeader + BodyHeader + m.topic.size() + m.payload.size();
}

std::string SegmentName(std::uint64_t number) {
    char name[32];
    std::snprintf(name, sizeof name, "seg-%016llu", static_cast<unsigned long long>(number));
    return name;
}

std::optional<std::uint64_t> SegmentNumber(std::string_view name) {
    if (!name.starts_with("seg-") || name.size() != 20)
        return std::nullopt;
    std::uint64_t n = 0;
    const auto [end, ec] = std::from_chars(name.data() + 4, name.data() + name.size(), n);
    if (ec != std::errc() || end != name.data() + name.size() || n == 0)
        return std::nullopt;
    return n;
}

} // namespace

std::string QueueFrame(const QueuedMessage& m) {
    std::string body;
    body += static_cast<char>(m.qos);
    body += static_cast<char>(m.retain ? 1 : 0);
    PutU32(body, static_cast<std::uint32_t>(m.topic.size()));
    body += m.topic;
    body += m.payload;
    std::string frame;
    PutU32(frame, static_cast<std::uint32_t>(body.size()));
    PutU32(frame, Crc32(body));
    return frame + body;
}

std::deque<QueuedMessage> QueueFrames(const std::string& bytes) {
    std::deque<QueuedMessage> messages;
    std::string_view rest(bytes);
    while (rest.size() >= FrameHeader) {
        const std::uint32_t length = GetU32(rest);
        if (length < BodyHeader || length > rest.size() - FrameHeader)
            break;
        const std::string_view body = rest.substr(FrameHeader, length);
        if (Crc32(body) != GetU32(rest.substr(4)))
            break;
        const std::uint32_t topicLength = GetU32(body.substr(2));
        if (topicLength > body.size() - BodyHeader || body[0] < 0 || body[0] > 2)
            break;
        QueuedMessage m;
        m.qos = body[0];
        m.retain = body[1] != 0;
        m.topic = std::string(body.substr(BodyHeader, topicLength));
        m.payload = std::string(body.substr(BodyHeader + topicLength));
        messages.push_back(std::move(m));
        rest.remove_prefix(FrameHeader + length);
    }
    return messages;
}

RecordQueue::RecordQueue(QueueStorage& storage, std::uint64_t limitBytes)
    : storage_(storage), limit_(std::max<std::uint64_t>(limitBytes, 1)),
      segmentBytes_(std::clamp<std::uint64_t>(limit_ / 4, 1, SegmentBytes)) {}

bool RecordQueue::Open(std::string& why) {
    if (!storage_.Open(why))
        return false;
    open_ = true;
    std::vector<std::uint64_t> numbers;
    for (const std::string& name : storage_.List())
        if (auto n = SegmentNumber(name))
            numbers.push_back(*n);
    std::sort(numbers.begin(), numbers.end());
    // "segment passed": the entries of the first segment that were
    // acknowledged before the last run ended.
    std::uint64_t headSegment = 0;
    std::size_t headPassed = 0;
    if (auto head = storage_.Read(HeadFile)) {
        unsigned long long segment = 0, passed = 0;
        if (std::sscanf(head->c_str(), "%llu %llu", &segment, &passed) == 2) {
            headSegment = segment;
            headPassed = static_cast<std::size_t>(passed);
        }
    }
    for (std::uint64_t number : numbers) {
        if (auto bytes = storage_.Read(SegmentName(number)))
            Load(number, *bytes, number == headSegment ? headPassed : 0);
    }
    // New entries go to a segment of their own, never after a torn end.
    appendSegment_ = numbers.empty() ? 1 : numbers.back() + 1;
    return true;
}

void RecordQueue::Load(std::uint64_t number, const std::string& bytes, std::size_t skip) {
    Segment& segment = segments_[number];
    segment.bytes = bytes.size();
    diskBytes_ += bytes.size();
    std::size_t index = 0;
    for (QueuedMessage& m : QueueFrames(bytes)) {
        if (index++ < skip) {
            ++segment.passed;
            continue;
        }
        const std::uint64_t size = FrameSize(m);
        entries_.push_back({nextId_++, std::move(m), number, size});
        ++segment.live;
    }
    if (segment.live == 0) {
        storage_.Remove(SegmentName(number));
        diskBytes_ -= segment.bytes;
        segments_.erase(number);
        headDirty_ = true;
    }
}

RecordQueue::Pushed RecordQueue::Push(QueuedMessage message) {
    MoveMemoryEntriesToDisk();
    const std::uint64_t size = FrameSize(message);
    entries_.push_back({nextId_++, std::move(message), 0, size});
    Entry& entry = entries_.back();
    if (memoryOnly_ == 0 && WriteToDisk(entry, QueueFrame(entry.message)))
        return Pushed::OnDisk;
    ++memoryOnly_;
    memoryBytes_ += size;
    bool dropped = false;
    while (memoryBytes_ > limit_ && memoryOnly_ > 1) {
        DropOldestInMemory();
        dropped = true;
    }
    return dropped ? Pushed::DroppedOldest : Pushed::InMemory;
}

bool RecordQueue::WriteToDisk(Entry& entry, const std::string& frame) {
    if (!open_ || diskBytes_ + frame.size() > limit_)
        return false;
    if (segments_.count(appendSegment_) && segments_[appendSegment_].bytes >= segmentBytes_) {
        // The full segment goes at once when nothing of it waits any more.
        if (segments_[appendSegment_].live == 0) {
            storage_.Remove(SegmentName(appendSegment_));
            diskBytes_ -= segments_[appendSegment_].bytes;
            segments_.erase(appendSegment_);
            headDirty_ = true;
        }
        ++appendSegment_;
    }
    if (!storage_.Append(SegmentName(appendSegment_), frame))
        return false;
    Segment& segment = segments_[appendSegment_];
    segment.bytes += frame.size();
    ++segment.live;
    diskBytes_ += frame.size();
    entry.segment = appendSegment_;
    return true;
}

void RecordQueue::MoveMemoryEntriesToDisk() {
    // Entries kept in memory are the newest: they follow every entry on
    // disk, and reach the disk in their order as room comes free.
    if (memoryOnly_ == 0 || !open_)
        return;
    for (Entry& entry : entries_) {
        if (entry.segment != 0 || entry.acknowledged)
            continue;
        if (!WriteToDisk(entry, QueueFrame(entry.message)))
            return;
        --memoryOnly_;
        memoryBytes_ -= entry.bytes;
    }
}

void RecordQueue::DropOldestInMemory() {
    auto it = std::find_if(entries_.begin(), entries_.end(),
                           [](const Entry& e) { return e.segment == 0; });
    const auto index = static_cast<std::size_t>(it - entries_.begin());
    memoryBytes_ -= it->bytes;
    --memoryOnly_;
    ++dropped_;
    entries_.erase(it);
    if (index < cursor_)
        --cursor_;
}

std::optional<RecordQueue::Item> RecordQueue::Next() {
    while (cursor_ < entries_.size() && entries_[cursor_].acknowledged)
        ++cursor_;
    if (cursor_ >= entries_.size())
        return std::nullopt;
    const Entry& entry = entries_[cursor_++];
    return Item{entry.id, &entry.message};
}

std::deque<RecordQueue::Entry>::iterator RecordQueue::Find(std::uint64_t id) {
    auto it = std::lower_bound(entries_.begin(), entries_.end(), id,
                               [](const Entry& e, std::uint64_t v) { return e.id < v; });
    return it != entries_.end() && it->id == id ? it : entries_.end();
}

void RecordQueue::Acknowledge(std::uint64_t id) {
    auto it = Find(id);
    if (it == entries_.end())
        return; // dropped meanwhile, or acknowledged twice
    it->acknowledged = true;
    while (!entries_.empty() && entries_.front().acknowledged) {
        Retire(entries_.front());
        entries_.pop_front();
        if (cursor_ > 0)
            --cursor_;
    }
    MoveMemoryEntriesToDisk();
}

void RecordQueue::Retire(const Entry& entry) {
    if (entry.segment == 0) {
        --memoryOnly_;
        memoryBytes_ -= entry.bytes;
        return;
    }
    auto it = segments_.find(entry.segment);
    if (it == segments_.end())
        return;
    Segment& segment = it->second;
    --segment.live;
    ++segment.passed;
    headDirty_ = true;
    // A segment that still grows stays until the next one starts.
    if (segment.live == 0 && entry.segment != appendSegment_) {
        storage_.Remove(SegmentName(entry.segment));
        diskBytes_ -= segment.bytes;
        segments_.erase(it);
    }
}

void RecordQueue::Rewind() {
    cursor_ = 0;
}

void RecordQueue::Sync() {
    if (!open_)
        return;
    if (headDirty_) {
        const auto first = segments_.begin();
        const std::string head =
            first == segments_.end()
                ? std::string("0 0\n")
                : std::to_string(first->first) + " " + std::to_string(first->second.passed) + "\n";
        storage_.Replace(HeadFile, head);
        headDirty_ = false;
    }
    storage_.Sync();
}

} // namespace output
