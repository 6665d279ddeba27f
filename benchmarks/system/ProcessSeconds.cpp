#include "benchmarks/system/ProcessSeconds.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

namespace storage::benchmark {

namespace {

constexpr unsigned long kernelThread = 0x00200000; // PF_KTHREAD in the flags of /proc/PID/stat

struct ProcessState {
    unsigned long flags = 0;
    double seconds = 0;
};

ProcessState stateOf(const std::string& process) {
    std::ifstream file("/proc/" + process + "/stat");
    std::string text;
    std::getline(file, text);
    const std::size_t nameEnd = text.rfind(')'); // the name may contain blanks
    if (nameEnd == std::string::npos) {
        return {};
    }
    std::istringstream values(text.substr(nameEnd + 1));
    std::string ignored;
    for (int i = 0; i < 6; ++i) { // the state and the ids of group, session and terminal
        values >> ignored;
    }
    ProcessState state;
    values >> state.flags;
    for (int i = 0; i < 4; ++i) { // page faults
        values >> ignored;
    }
    double user = 0;
    double system = 0;
    values >> user >> system;
    state.seconds = (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
    return state;
}

bool isNumber(const std::string& name) {
    return name.find_first_not_of("0123456789") == std::string::npos;
}

} // namespace

double processSeconds(pid_t process) {
    return stateOf(std::to_string(process)).seconds;
}

double kernelThreadSeconds() {
    double sum = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (isNumber(name)) {
            const ProcessState state = stateOf(name);
            sum += (state.flags & kernelThread) != 0 ? state.seconds : 0;
        }
    }
    return sum;
}

} // namespace storage::benchmark
