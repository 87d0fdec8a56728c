// The queue of unpublished records: order kept across acknowledgements out
// of order, rewinds and restarts; acknowledged entries gone from the disk,
// also after a restart; a torn end; the disk bound with the newest records in
// memory and nothing dropped without a count; and the real files on disk.

#include "output/RecordQueue.h"
#include "output/PosixQueueStorage.h"
#include "support/ProcessRunner.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace output;

namespace {

QueuedMessage Record(int n, std::size_t size = 0) {
    return {"corvane/COM1/record", "r" + std::to_string(n) + std::string(size, '.'), 1, true};
}

// The payloads handed out from now until the queue has none.
std::vector<std::string> Drain(RecordQueue& q, std::vector<std::uint64_t>* ids = nullptr) {
    std::vector<std::string> payloads;
    while (auto item = q.Next()) {
        payloads.push_back(item->message->payload.substr(0, item->message->payload.find('.')));
        if (ids)
            ids->push_back(item->id);
    }
    return payloads;
}

std::vector<std::string> Names(int from, int to) {
    std::vector<std::string> names;
    for (int n = from; n <= to; ++n)
        names.push_back("r" + std::to_string(n));
    return names;
}

std::size_t Segments(const MemoryQueueStorage& storage) {
    std::size_t n = 0;
    for (const auto& [name, bytes] : storage.files)
        n += name.starts_with("seg-");
    return n;
}

} // namespace

TEST(RecordQueue, HandsOutInOrderAndAgainAfterARewindWhatWasNotAcknowledged) {
    MemoryQueueStorage storage;
    RecordQueue q(storage, 1 << 20);
    std::string why;
    ASSERT_TRUE(q.Open(why));
    for (int n = 1; n <= 5; ++n)
        EXPECT_EQ(q.Push(Record(n)), RecordQueue::Pushed::OnDisk);
    std::vector<std::uint64_t> ids;
    EXPECT_EQ(Drain(q, &ids), Names(1, 5));
    // Acknowledged out of order: 2 and 4; then the connection drops.
    q.Acknowledge(ids[1]);
    q.Acknowledge(ids[3]);
    q.Acknowledge(ids[3]); // twice: nothing more happens
    q.Rewind();
    EXPECT_EQ(Drain(q), (std::vector<std::string>{"r1", "r3", "r5"}));
    EXPECT_EQ(q.Waiting(), 5u); // 2 and 4 wait behind 1 until it is acknowledged
    q.Acknowledge(ids[0]);
    EXPECT_EQ(q.Waiting(), 3u);
    q.Push(Record(6));
    EXPECT_EQ(Drain(q), Names(6, 6)) << "new entries follow what was handed out";
}

TEST(RecordQueue, ARestartFindsWhatWasNotAcknowledgedAndNothingThatWas) {
    MemoryQueueStorage storage;
    {
        RecordQueue q(storage, 1 << 20);
        std::string why;
        ASSERT_TRUE(q.Open(why));
        for (int n = 1; n <= 6; ++n)
            q.Push(Record(n));
        std::vector<std::uint64_t> ids;
        Drain(q, &ids);
        q.Acknowledge(ids[0]);
        q.Acknowledge(ids[1]);
        q.Sync();
    }
    RecordQueue again(storage, 1 << 20);
    std::string why;
    ASSERT_TRUE(again.Open(why));
    EXPECT_EQ(again.Waiting(), 4u);
    EXPECT_EQ(Drain(again), Names(3, 6));
    again.Push(Record(7));
    EXPECT_EQ(Drain(again), Names(7, 7));
}

TEST(RecordQueue, SegmentsLeaveTheDiskOnceEveryEntryOfThemIsAcknowledged) {
    MemoryQueueStorage storage;
    RecordQueue q(storage, 64 << 20);
    std::string why;
    ASSERT_TRUE(q.Open(why));
    // About 4.5 segments of 1 MiB.
    for (int n = 1; n <= 45; ++n)
        q.Push(Record(n, 100 << 10));
    EXPECT_EQ(Segments(storage), 5u);
    std::vector<std::uint64_t> ids;
    Drain(q, &ids);
    for (std::size_t i = 0; i < 30; ++i)
        q.Acknowledge(ids[i]);
    EXPECT_EQ(Segments(storage), 3u);
    for (std::size_t i = 30; i < ids.size(); ++i)
        q.Acknowledge(ids[i]);
    // The segment still appended to stays (empty of waiting entries) until
    // the next one starts; a restart finds nothing to send.
    EXPECT_LE(Segments(storage), 1u);
    EXPECT_EQ(q.Waiting(), 0u);
    q.Sync();
    RecordQueue again(storage, 64 << 20);
    ASSERT_TRUE(again.Open(why));
    EXPECT_EQ(again.Waiting(), 0u);
    EXPECT_EQ(Segments(storage), 0u);
}

TEST(RecordQueue, ATornEntryEndsItsSegmentAndLaterEntriesGoToANewOne) {
    MemoryQueueStorage storage;
    {
        RecordQueue q(storage, 1 << 20);
        std::string why;
        ASSERT_TRUE(q.Open(why));
        for (int n = 1; n <= 3; ++n)
            q.Push(Record(n));
    }
    // The machine went down in the middle of the fourth entry.
    const std::string fourth = QueueFrame(Record(4));
    storage.files.begin()->second += fourth.substr(0, fourth.size() / 2);
    {
        RecordQueue q(storage, 1 << 20);
        std::string why;
        ASSERT_TRUE(q.Open(why));
        EXPECT_EQ(Drain(q), Names(1, 3));
        q.Push(Record(5));
    }
    RecordQueue q(storage, 1 << 20);
    std::string why;
    ASSERT_TRUE(q.Open(why));
    EXPECT_EQ(Drain(q), (std::vector<std::string>{"r1", "r2", "r3", "r5"}));
    // A flipped byte is a broken entry too.
    std::string frame = QueueFrame(Record(9));
    frame[frame.size() - 1] ^= 1;
    EXPECT_TRUE(QueueFrames(frame).empty());
    EXPECT_EQ(QueueFrames(QueueFrame(Record(9))).front(), Record(9));
}

TEST(RecordQueue, AFullDiskKeepsTheNewestInMemoryInOrderAndMovesThemOnAsRoomComes) {
    MemoryQueueStorage storage;
    const std::uint64_t frame = QueueFrame(Record(1, 1000)).size();
    RecordQueue q(storage, 3 * frame); // three entries on disk, three in memory
    std::string why;
    ASSERT_TRUE(q.Open(why));
    for (int n = 1; n <= 3; ++n)
        EXPECT_EQ(q.Push(Record(n, 1000)), RecordQueue::Pushed::OnDisk);
    EXPECT_EQ(q.Push(Record(4, 1000)), RecordQueue::Pushed::InMemory);
    EXPECT_EQ(q.Push(Record(5, 1000)), RecordQueue::Pushed::InMemory);
    EXPECT_EQ(q.InMemoryOnly(), 2u);
    std::vector<std::uint64_t> ids;
    EXPECT_EQ(Drain(q, &ids), Names(1, 5));
    // Room on disk: the memory entries follow the disk ones there, in order.
    q.Acknowledge(ids[0]);
    q.Acknowledge(ids[1]);
    EXPECT_EQ(q.InMemoryOnly(), 0u);
    q.Sync();
    RecordQueue again(storage, 3 * frame);
    ASSERT_TRUE(again.Open(why));
    EXPECT_EQ(Drain(again), Names(3, 5));
}

TEST(RecordQueue, WhenMemoryIsFullTooTheOldestInMemoryGoAndAreCounted) {
    MemoryQueueStorage storage;
    const std::uint64_t frame = QueueFrame(Record(1, 1000)).size();
    RecordQueue q(storage, 2 * frame);
    std::string why;
    ASSERT_TRUE(q.Open(why));
    q.Push(Record(1, 1000));
    q.Push(Record(2, 1000));
    q.Push(Record(3, 1000));
    q.Push(Record(4, 1000));
    EXPECT_EQ(q.Push(Record(5, 1000)), RecordQueue::Pushed::DroppedOldest);
    EXPECT_EQ(q.Dropped(), 1u);
    EXPECT_EQ(Drain(q), (std::vector<std::string>{"r1", "r2", "r4", "r5"}));
}

TEST(RecordQueue, ADiskThatFailsOrIsTakenLeavesTheRecordsInMemoryInOrder) {
    MemoryQueueStorage storage;
    storage.spaceLeft = QueueFrame(Record(1)).size(); // room for one
    RecordQueue q(storage, 1 << 20);
    std::string why;
    ASSERT_TRUE(q.Open(why));
    EXPECT_EQ(q.Push(Record(1)), RecordQueue::Pushed::OnDisk);
    EXPECT_EQ(q.Push(Record(2)), RecordQueue::Pushed::InMemory);
    EXPECT_EQ(q.Push(Record(3)), RecordQueue::Pushed::InMemory);
    EXPECT_EQ(Drain(q), Names(1, 3));

    MemoryQueueStorage taken;
    taken.openFails = true;
    RecordQueue memoryOnly(taken, 1 << 20);
    EXPECT_FALSE(memoryOnly.Open(why));
    EXPECT_FALSE(memoryOnly.OnDisk());
    memoryOnly.Push(Record(1));
    memoryOnly.Push(Record(2));
    EXPECT_EQ(Drain(memoryOnly), Names(1, 2));
    EXPECT_TRUE(taken.files.empty());
}

TEST(PosixQueueStorage, KeepsTheQueueInFilesThatOnlyOneRuntimeTakes) {
    testsupport::TempDir dir;
    const std::string folder = (dir.path / "state" / "corvane" / "queue" / "q").string();
    {
        PosixQueueStorage storage(folder);
        RecordQueue q(storage, 1 << 20);
        std::string why;
        ASSERT_TRUE(q.Open(why)) << why;
        PosixQueueStorage second(folder);
        EXPECT_FALSE(second.Open(why));
        EXPECT_NE(why.find("in use by another runtime"), std::string::npos) << why;
        for (int n = 1; n <= 4; ++n)
            q.Push(Record(n));
        auto first = q.Next();
        q.Acknowledge(first->id);
        q.Sync();
    }
    EXPECT_EQ(std::filesystem::status(folder).permissions() & std::filesystem::perms::all,
              std::filesystem::perms::owner_all);
    PosixQueueStorage storage(folder);
    RecordQueue q(storage, 1 << 20);
    std::string why;
    ASSERT_TRUE(q.Open(why)) << why;
    EXPECT_EQ(Drain(q), Names(2, 4));
}
