#include "engine/OutputQueue.h"

namespace engine {

void QueueFile(RuntimeState& state, std::unique_ptr<std::istream> file) {
    state.OutputFiles.push_back({std::move(file), {}});
}

void TopUpPendingOutput(RuntimeState& state) {
    while (!state.OutputFiles.empty() && state.PendingOutput.size() < OutputFilePiece) {
        QueuedFile& first = state.OutputFiles.front();
        const std::size_t had = state.PendingOutput.size();
        state.PendingOutput.resize(had + OutputFilePiece);
        first.file->read(state.PendingOutput.data() + had,
                         static_cast<std::streamsize>(OutputFilePiece));
        state.PendingOutput.resize(had + static_cast<std::size_t>(first.file->gcount()));
        if (*first.file)
            continue;
        // The end of the file (or of what could be read of it).
        state.PendingOutput += first.after;
        state.OutputFiles.pop_front();
    }
}

} // namespace engine
