#pragma once
// The queue's files in a folder on disk ($XDG_STATE_HOME/corvane/queue/...),
// locked with flock so that two runtimes never share one, appended to with
// O_APPEND and made durable with fdatasync when the queue asks.

#include "output/QueueStorage.h"

#include <string>

namespace output {

class PosixQueueStorage : public QueueStorage {
public:
    explicit PosixQueueStorage(std::string folder);
    ~PosixQueueStorage() override;
    PosixQueueStorage(const PosixQueueStorage&) = delete;
    PosixQueueStorage& operator=(const PosixQueueStorage&) = delete;

    bool Open(std::string& why) override;
    std::vector<std::string> List() override;
    std::optional<std::string> Read(const std::string& name) override;
    bool Append(const std::string& name, std::string_view bytes) override;
    bool Replace(const std::string& name, std::string_view bytes) override;
    bool Remove(const std::string& name) override;
    void Sync() override;
    std::string Where() const override { return folder_; }

private:
    std::string Path(const std::string& name) const { return folder_ + "/" + name; }
    void CloseAppendFile();

    std::string folder_;
    int lockFd_ = -1;
    int appendFd_ = -1; // the file appended to last, kept open
    std::string appendName_;
    bool dataDirty_ = false;   // appended since the last sync
    bool folderDirty_ = false; // files created, renamed or removed since then
};

// Where this user's queues live: $XDG_STATE_HOME/corvane/queue, or
// ~/.local/state/corvane/queue.
std::string QueueRoot();

} // namespace output
