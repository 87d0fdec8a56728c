#pragma once
// The records a runtime has not got to its broker yet, in order: on disk (in
// a QueueStorage) so that they survive a restart of the program or of the
// machine, and in memory once the disk part has reached its limit, so that
// acquisition never stops for it. An entry leaves the queue when the broker
// has acknowledged it; what was handed out and not acknowledged when the
// connection dropped is handed out again, in order.
//
// On disk the queue is a row of segment files of framed entries (length,
// CRC-32, body) and a small "head" file that says how many entries of the
// first segment are already acknowledged. A torn entry at the end of a
// segment (a crash while writing) ends that segment; later entries go to new
// segments.

#include "output/QueueStorage.h"

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>

namespace output {

struct QueuedMessage {
    std::string topic;
    std::string payload;
    int qos = 1;
    bool retain = true;
    bool operator==(const QueuedMessage&) const = default;
};

class RecordQueue {
public:
    // limitBytes bounds the disk part, and again the part kept in memory.
    RecordQueue(QueueStorage& storage, std::uint64_t limitBytes);

    // Takes the storage and reads what earlier runs left there, oldest
    // first. False, with why set, when the storage cannot be had: the queue
    // then lives in memory only.
    bool Open(std::string& why);

    enum class Pushed { OnDisk, InMemory, DroppedOldest };
    // Appends at the end: on disk while there is room, else in memory; when
    // memory is full too the oldest entry kept only in memory is dropped.
    Pushed Push(QueuedMessage message);

    // The oldest entry not handed out since the last Rewind.
    struct Item {
        std::uint64_t id;
        const QueuedMessage* message;
    };
    std::optional<Item> Next();
    // The broker has entry id: it leaves the queue (its segment file goes
    // once all of its entries have).
    void Acknowledge(std::uint64_t id);
    // Everything not acknowledged is to be handed out again.
    void Rewind();
    // Appended entries and the head made durable; cheap when nothing changed.
    void Sync();

    std::size_t Waiting() const { return entries_.size(); }
    std::size_t InMemoryOnly() const { return memoryOnly_; }
    std::uint64_t Dropped() const { return dropped_; }
    std::uint64_t DiskBytes() const { return diskBytes_; }
    bool OnDisk() const { return open_; }
    std::string Where() const { return storage_.Where(); }

private:
    struct Entry {
        std::uint64_t id;
        QueuedMessage message;
        std::uint64_t segment; // 0: only in memory
        std::uint64_t bytes;   // its frame's size
        bool acknowledged = false;
    };
    struct Segment {
        std::uint64_t bytes = 0;
        std::size_t live = 0;   // entries not acknowledged yet
        std::size_t passed = 0; // acknowledged entries at its front
    };

    void Load(std::uint64_t number, const std::string& bytes, std::size_t skip);
    bool WriteToDisk(Entry& entry, const std::string& frame);
    void MoveMemoryEntriesToDisk();
    void DropOldestInMemory();
    void Retire(const Entry& entry);
    std::deque<Entry>::iterator Find(std::uint64_t id);

    QueueStorage& storage_;
    std::uint64_t limit_;
    std::uint64_t segmentBytes_; // a segment is closed past this size
    bool open_ = false;
    std::deque<Entry> entries_;
    std::size_t cursor_ = 0; // index of the next entry to hand out
    std::uint64_t nextId_ = 1;
    std::map<std::uint64_t, Segment> segments_;
    std::uint64_t appendSegment_ = 1;
    std::uint64_t diskBytes_ = 0;
    std::uint64_t memoryBytes_ = 0;
    std::size_t memoryOnly_ = 0;
    std::uint64_t dropped_ = 0;
    bool headDirty_ = false;
};

// The frame of one entry, and the entries of a segment's bytes up to the
// first broken frame.
std::string QueueFrame(const QueuedMessage& message);
std::deque<QueuedMessage> QueueFrames(const std::string& bytes);

} // namespace output
