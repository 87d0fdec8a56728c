#pragma once
// The files of a queue of unpublished records: one folder, taken by one
// runtime at a time, whose files are appended to, read whole, replaced and
// removed. PosixQueueStorage keeps them on disk, synced on demand;
// MemoryQueueStorage keeps them in memory for the tests, and can be made to
// fail.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace output {

class QueueStorage {
public:
    virtual ~QueueStorage() = default;
    // Creates the folder when needed and takes it for this runtime; false,
    // with why set, when that fails or another runtime has it.
    virtual bool Open(std::string& why) = 0;
    // The names of the files in the folder, in no particular order.
    virtual std::vector<std::string> List() = 0;
    virtual std::optional<std::string> Read(const std::string& name) = 0;
    // False when not all of bytes could be written (a full disk).
    virtual bool Append(const std::string& name, std::string_view bytes) = 0;
    // The whole file at once: a reader sees the old or the new content.
    virtual bool Replace(const std::string& name, std::string_view bytes) = 0;
    virtual bool Remove(const std::string& name) = 0;
    // What was written so far survives a crash of the machine.
    virtual void Sync() = 0;
    // The folder, for messages.
    virtual std::string Where() const = 0;
};

class MemoryQueueStorage : public QueueStorage {
public:
    std::map<std::string, std::string> files;
    bool openFails = false;
    std::size_t spaceLeft = static_cast<std::size_t>(-1); // bytes Append may still write
    int syncs = 0;

    bool Open(std::string& why) override {
        if (openFails)
            why = "taken by another runtime";
        return !openFails;
    }
    std::vector<std::string> List() override {
        std::vector<std::string> names;
        for (const auto& [name, bytes] : files)
            names.push_back(name);
        return names;
    }
    std::optional<std::string> Read(const std::string& name) override {
        auto it = files.find(name);
        if (it == files.end())
            return std::nullopt;
        return it->second;
    }
    bool Append(const std::string& name, std::string_view bytes) override {
        if (bytes.size() > spaceLeft)
            return false;
        spaceLeft -= bytes.size();
        files[name].append(bytes);
        return true;
    }
    bool Replace(const std::string& name, std::string_view bytes) override {
        files[name] = std::string(bytes);
        return true;
    }
    bool Remove(const std::string& name) override { return files.erase(name) == 1; }
    void Sync() override { ++syncs; }
    std::string Where() const override { return "memory"; }
};

} // namespace output
