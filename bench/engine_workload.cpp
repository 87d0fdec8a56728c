// A fixed amount of engine work, for instruction counts under callgrind and
// for the side-by-side comparison with a Python loop (bench/compare_python):
//   engine_workload simple|lines|balance RECORDS
// frames RECORDS records (in ticks of 1,000 records) and prints the records
// delivered, the input bytes and the records per second.

#include "EngineRig.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

int main(int argc, char** argv) {
    const std::string name = argc == 3 ? argv[1] : "";
    if (name != "simple" && name != "lines" && name != "balance") {
        std::fputs("usage: engine_workload simple|lines|balance RECORDS\n", stderr);
        return 2;
    }
    const auto workload = name == "simple"  ? benchrig::Workload::SimpleRecords
                          : name == "lines" ? benchrig::Workload::BalanceLines
                                            : benchrig::Workload::BalanceChain;
    const std::size_t records = std::strtoull(argv[2], nullptr, 10);
    benchrig::EngineRig rig(workload);
    const std::size_t recordSize = std::strlen(benchrig::RecordOf(workload));
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t done = 0; done < records; done += 1000)
        rig.Tick(std::min<std::size_t>(1000, records - done) * recordSize);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("records=%zu bytes=%zu seconds=%.6f records_per_s=%.0f\n", rig.log.lines,
                rig.port.pos, seconds, static_cast<double>(rig.log.lines) / seconds);
    return rig.log.lines == records ? 0 : 1;
}
