#pragma once
// Programs started with posix_spawn: each one leads a session of its own
// (detached from Corvane's terminal, and so that what it starts can be
// told apart), its standard streams on /dev/null. It stays Corvane's child:
// a program that has ended is collected when the launcher is next used, so
// that none lingers as a zombie for long.

#include "output/ProgramLauncher.h"

#include <sys/types.h>

#include <vector>

namespace output {

class PosixProgramLauncher : public ProgramLauncher {
public:
    PosixProgramLauncher() = default;
    ~PosixProgramLauncher() override;
    PosixProgramLauncher(const PosixProgramLauncher&) = delete;
    PosixProgramLauncher& operator=(const PosixProgramLauncher&) = delete;

    StartedProgram Start(const std::string& commandLine) override;
    bool Ended(ProgramId id, std::string& how) override;

private:
    struct Child {
        pid_t pid;
        bool collected = false;
        int status = 0;
    };
    // Collects every started program that has ended.
    void Collect();

    std::vector<Child> children_;
};

} // namespace output
