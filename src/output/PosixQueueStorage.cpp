#include "output/PosixQueueStorage.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace output {

namespace {

bool WriteAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

// mkdir -p with mode 0700 for what it creates.
bool MakeFolders(const std::string& path) {
    for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string part = path.substr(0, slash);
        if (::mkdir(part.c_str(), 0700) != 0 && errno != EEXIST)
            return false;
        if (slash == std::string::npos)
            return true;
    }
}

} // namespace

std::string QueueRoot() {
    if (const char* state = std::getenv("XDG_STATE_HOME"); state && state[0] == '/')
        return std::string(state) + "/corvane/queue";
    const char* home = std::getenv("HOME");
    return std::string(home ? home : "") + "/.local/state/corvane/queue";
}

PosixQueueStorage::PosixQueueStorage(std::string folder) : folder_(std::move(folder)) {}

PosixQueueStorage::~PosixQueueStorage() {
    Sync();
    CloseAppendFile();
    if (lockFd_ >= 0)
        ::close(lockFd_); // releases the lock
}

bool PosixQueueStorage::Open(std::string& why) {
    if (!MakeFolders(folder_)) {
        why = folder_ + " cannot be made: " + std::strerror(errno);
        return false;
    }
    lockFd_ = ::open(Path("lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lockFd_ < 0) {
        why = folder_ + " cannot be written: " + std::strerror(errno);
        return false;
    }
    if (::flock(lockFd_, LOCK_EX | LOCK_NB) != 0) {
        why = folder_ + " is in use by another runtime with the same broker and topic";
        ::close(lockFd_);
        lockFd_ = -1;
        return false;
    }
    return true;
}

std::vector<std::string> PosixQueueStorage::List() {
    std::vector<std::string> names;
    DIR* dir = ::opendir(folder_.c_str());
    if (!dir)
        return names;
    while (const dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (name != "." && name != ".." && name != "lock")
            names.push_back(name);
    }
    ::closedir(dir);
    return names;
}

std::optional<std::string> PosixQueueStorage::Read(const std::string& name) {
    const int fd = ::open(Path(name).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return std::nullopt;
    std::string bytes;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        bytes.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return bytes;
}

bool PosixQueueStorage::Append(const std::string& name, std::string_view bytes) {
    if (appendName_ != name) {
        Sync();
        CloseAppendFile();
        appendFd_ = ::open(Path(name).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
        if (appendFd_ < 0)
            return false;
        appendName_ = name;
        folderDirty_ = true;
    }
    struct stat before {};
    if (::fstat(appendFd_, &before) != 0)
        return false;
    dataDirty_ = true;
    if (WriteAll(appendFd_, bytes))
        return true;
    // A part of an entry would hide every entry after it: take it back.
    (void)::ftruncate(appendFd_, before.st_size);
    return false;
}

bool PosixQueueStorage::Replace(const std::string& name, std::string_view bytes) {
    const std::string temporary = Path(name + ".new");
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0)
        return false;
    const bool written = WriteAll(fd, bytes) && ::fdatasync(fd) == 0;
    ::close(fd);
    if (!written || ::rename(temporary.c_str(), Path(name).c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    folderDirty_ = true;
    return true;
}

bool PosixQueueStorage::Remove(const std::string& name) {
    if (name == appendName_)
        CloseAppendFile();
    folderDirty_ = true;
    return ::unlink(Path(name).c_str()) == 0;
}

void PosixQueueStorage::Sync() {
    if (dataDirty_ && appendFd_ >= 0)
        ::fdatasync(appendFd_);
    dataDirty_ = false;
    if (folderDirty_) {
        // New and removed files are entries of the folder: it is synced too.
        const int dirFd = ::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (dirFd >= 0) {
            ::fsync(dirFd);
            ::close(dirFd);
        }
        folderDirty_ = false;
    }
}

void PosixQueueStorage::CloseAppendFile() {
    if (appendFd_ >= 0) {
        if (dataDirty_)
            ::fdatasync(appendFd_);
        ::close(appendFd_);
    }
    dataDirty_ = false;
    appendFd_ = -1;
    appendName_.clear();
}

} // namespace output
