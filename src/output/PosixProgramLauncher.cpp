#include "output/PosixProgramLauncher.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace output {

namespace {

// Whether any process is in session sid, from /proc/PID/stat (the sixth
// field; the command name before it, in parentheses, may hold blanks).
bool SessionHasProcesses(pid_t sid) {
    DIR* proc = ::opendir("/proc");
    if (!proc)
        return false;
    bool found = false;
    while (const dirent* entry = ::readdir(proc)) {
        if (entry->d_name[0] < '1' || entry->d_name[0] > '9')
            continue;
        std::ifstream stat(std::string("/proc/") + entry->d_name + "/stat");
        std::string text;
        if (!std::getline(stat, text))
            continue;
        const std::size_t close = text.rfind(')');
        if (close == std::string::npos)
            continue;
        char state = 0;
        long ppid = 0, pgrp = 0, session = 0;
        if (std::sscanf(text.c_str() + close + 1, " %c %ld %ld %ld", &state, &ppid, &pgrp,
                        &session) == 4 &&
            session == sid && state != 'Z') {
            found = true;
            break;
        }
    }
    ::closedir(proc);
    return found;
}

std::string HowItEnded(int status) {
    if (WIFEXITED(status))
        return "exit status " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status))
        return "killed by signal " + std::to_string(WTERMSIG(status));
    return "ended";
}

} // namespace

PosixProgramLauncher::~PosixProgramLauncher() {
    Collect();
}

void PosixProgramLauncher::Collect() {
    for (Child& child : children_) {
        if (child.collected)
            continue;
        int status = 0;
        const pid_t done = ::waitpid(child.pid, &status, WNOHANG);
        if (done == child.pid || (done < 0 && errno == ECHILD)) {
            child.collected = true;
            child.status = status;
        }
    }
}

StartedProgram PosixProgramLauncher::Start(const std::string& commandLine) {
    // One launch is waited for at a time: the programs collected by now
    // are of earlier launches, and nobody will ask about them again.
    Collect();
    std::erase_if(children_, [](const Child& child) { return child.collected; });
    StartedProgram started;
    auto words = SplitCommandLine(commandLine, started.error);
    if (!words)
        return started;
    std::vector<char*> argv;
    for (std::string& word : *words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
    posix_spawnattr_init(&attributes);
    // A session of its own, no signals blocked, and the signals Corvane
    // handles itself back to their defaults.
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGTERM);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t pid = 0;
    const int error = ::posix_spawnp(&pid, argv[0], &files, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) {
        started.error = std::strerror(error);
        return started;
    }
    children_.push_back({pid});
    started.id = pid;
    return started;
}

bool PosixProgramLauncher::Ended(ProgramId id, std::string& how) {
    Collect();
    for (const Child& child : children_)
        if (child.pid == id) {
            if (!child.collected || SessionHasProcesses(child.pid))
                return false;
            how = HowItEnded(child.status);
            return true;
        }
    how = "ended";
    return true;
}

} // namespace output
