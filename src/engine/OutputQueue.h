#pragma once
// What the program queues for the instrument, kept in the order it was
// queued: bytes go to PendingOutput, and a whole file (sent by a command) is
// read a piece at a time as the port takes it, so that a file of any size
// costs no more memory than a piece, with the bytes queued after it behind
// it.

#include "engine/RuntimeState.h"

#include <istream>
#include <memory>
#include <string_view>

namespace engine {

// Bytes for the instrument: at the end of PendingOutput, or, while files
// are being sent, behind the last of them.
inline void QueueOutput(RuntimeState& state, std::string_view bytes) {
    if (state.OutputFiles.empty())
        state.PendingOutput.append(bytes);
    else
        state.OutputFiles.back().after.append(bytes);
}

// A whole file for the instrument, behind what is queued now.
void QueueFile(RuntimeState& state, std::unique_ptr<std::istream> file);

// Before each flush: while PendingOutput holds less than a piece and files
// wait, adds the next piece of the first file, and at its end what was
// queued behind it. A file that cannot be read further ends there.
void TopUpPendingOutput(RuntimeState& state);

// The size of a piece.
inline constexpr std::size_t OutputFilePiece = 64 * 1024;

} // namespace engine
