#include "benchmarks/system/ProcessorTimes.h"

#include <fstream>
#include <string>
#include <unistd.h>

namespace storage::benchmark {

ProcessorTimes ProcessorTimes::now() {
    std::ifstream file("/proc/stat");
    std::string name;
    double user = 0;
    double nice = 0;
    double system = 0;
    double idle = 0;
    double waiting = 0;
    double interrupts = 0;
    double softInterrupts = 0;
    double stolen = 0;
    file >> name >> user >> nice >> system >> idle >> waiting >> interrupts >> softInterrupts >> stolen;
    const auto ticks = static_cast<double>(::sysconf(_SC_CLK_TCK));
    return {(user + nice + system + interrupts + softInterrupts) / ticks, stolen / ticks};
}

} // namespace storage::benchmark
