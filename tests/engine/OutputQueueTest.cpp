// What is queued for the instrument goes out in the order it was queued,
// and a file on its way costs no more memory than a piece of it.

#include "engine/OutputQueue.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace engine;

TEST(OutputQueue, AFileGoesOutPieceByPieceBetweenWhatCameBeforeAndAfterIt) {
    RuntimeState state;
    std::string file;
    for (int i = 0; i < 200000; ++i)
        file += static_cast<char>('a' + i % 26);
    QueueOutput(state, "before|");
    QueueFile(state, std::make_unique<std::istringstream>(file));
    QueueOutput(state, "|after|");
    QueueFile(state, std::make_unique<std::istringstream>(std::string("tiny")));
    QueueOutput(state, "|end");

    // A port that takes 10,000 bytes per flush.
    std::string sent;
    std::size_t most = 0;
    for (int flush = 0; flush < 1000 && !(state.PendingOutput.empty() && state.OutputFiles.empty());
         ++flush) {
        TopUpPendingOutput(state);
        most = std::max(most, state.PendingOutput.size());
        const std::size_t n = std::min<std::size_t>(10000, state.PendingOutput.size());
        sent += state.PendingOutput.substr(0, n);
        state.PendingOutput.erase(0, n);
    }
    EXPECT_EQ(sent, "before|" + file + "|after|tiny|end");
    EXPECT_LE(most, 2 * OutputFilePiece);
}

TEST(OutputQueue, AFileThatCannotBeReadFurtherEndsWhereItStopped) {
    RuntimeState state;
    auto broken = std::make_unique<std::istringstream>(std::string("abc"));
    broken->setstate(std::ios::badbit);
    QueueFile(state, std::move(broken));
    QueueOutput(state, "next");
    TopUpPendingOutput(state);
    EXPECT_EQ(state.PendingOutput, "next");
    EXPECT_TRUE(state.OutputFiles.empty());
}
