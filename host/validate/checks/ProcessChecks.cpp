#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/checks/EveryOperation.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <array>
#include <cfenv>
#include <cfloat>
#include <charconv>
#include <clocale>
#include <csignal>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iostream>
#include <locale>
#include <malloc.h>
#include <new>
#include <sched.h>
#include <sys/mman.h>
#include <sys/personality.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace storage::host::checks {

using namespace provider;

namespace process_checks {
namespace {

/// A part of the state of the process, as text.
struct Property {
    const char* name;
    std::string (*state)();
};

std::string entriesOf(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return std::to_string(std::distance(begin(entries), end(entries)));
}

/// The process IDs of all children. Empty if the kernel does not list children.
std::string children() {
    std::string numbers;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream list(thread.path() / "children");
        for (std::string number; list >> number;) {
            numbers += number + ' ';
        }
    }
    return numbers;
}

std::string environment() {
    // localtime(3) and mktime(3) initialize the time zone. A provider may be the first to call them.
    [[maybe_unused]] static const bool zoneIsRead = (::tzset(), true);
    std::string text;
    for (char* const* each = ::environ; each != nullptr && *each != nullptr; ++each) {
        text += fmt::format(" {}", *each);
    }
    return text + fmt::format(" (time zone {} {} {} {})", ::timezone, ::daylight, ::tzname[0], ::tzname[1]);
}

std::string umaskOfProcess() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return fmt::format("{:o}", mask);
}

std::string signals() {
    std::string text;
    sigset_t blocked{};
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action {};
        if (::sigaction(signal, nullptr, &action) == 0) {
            text += fmt::format(" {}:{}:{:x}:{}", signal, reinterpret_cast<std::uintptr_t>(action.sa_handler),
                                action.sa_flags, ::sigismember(&blocked, signal));
        }
    }
    stack_t alternate{};
    ::sigaltstack(nullptr, &alternate);
    return text + fmt::format(" stack {}:{}", alternate.ss_sp, alternate.ss_size);
}

/// Rounding mode, enabled traps, precision, and whether denormals are flushed to zero.
std::string floatingPoint() {
    const volatile double smallest = DBL_MIN;
    const volatile double smaller = smallest / 2;
    const volatile long double three = 3;
    const volatile long double third = 1 / three;
    return fmt::format("{} {} {} {}", std::fegetround(), ::fegetexcept(), smaller > 0,
                       static_cast<long double>(third));
}

/// Which interval timers are running.
std::string timers() {
    std::string text;
    for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
        itimerval left{};
        ::getitimer(timer, &left);
        text += timerisset(&left.it_value) ? " running" : " stopped";
    }
    std::ifstream list("/proc/self/timers"); // of timer_create(2)
    return text.append(std::istreambuf_iterator<char>(list), {});
}

std::string limits() {
    std::string text = fmt::format("priority {}", ::getpriority(PRIO_PROCESS, 0));
    for (int resource = 0; resource < static_cast<int>(RLIM_NLIMITS); ++resource) {
        rlimit limit{};
        ::getrlimit(static_cast<__rlimit_resource_t>(resource), &limit);
        text += fmt::format(" {}:{}", limit.rlim_cur, limit.rlim_max);
    }
    return text;
}

/// The flags of the mapping that contains an address, as in proc(5).
std::string mappingFlags(const void* address) {
    std::ifstream mappings("/proc/self/smaps");
    bool isIn = false;
    for (std::string line; std::getline(mappings, line);) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        const char* const last = line.data() + line.size();
        const auto [dash, failure] = std::from_chars(line.data(), last, begin, 16);
        if (failure == std::errc() && dash != last && *dash == '-') { // "begin-end ...", then "Name: value"
            std::from_chars(dash + 1, last, end, 16);
            const auto wanted = reinterpret_cast<std::uintptr_t>(address);
            isIn = begin <= wanted && wanted < end;
        } else if (isIn && line.starts_with("VmFlags:")) {
            return line + ' ';
        }
    }
    return "";
}

/// Whether the program's own memory, and what is mapped next, is locked. Providers may lock their own memory.
std::string memoryLocking() {
    static const int ownMemory = 0;
    const auto isLocked = [](const void* address) {
        return mappingFlags(address).find(" lo ") != std::string::npos;
    };
    const auto size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const mapped = ::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const bool isNextLocked = mapped == MAP_FAILED || isLocked(mapped);
    if (mapped != MAP_FAILED) {
        ::munmap(mapped, size);
    }
    return fmt::format("memory locked {}, later mappings {}", isLocked(&ownMemory), isNextLocked);
}

/// Capabilities, groups and system call filters.
std::string privileges() {
    std::string text;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("Cap") || line.starts_with("Groups:") || line.starts_with("NoNewPrivs:") ||
            line.starts_with("Seccomp")) {
            std::replace(line.begin(), line.end(), '\t', ' ');
            text += line + ", ";
        }
    }
    return text + fmt::format("personality {:x}, ", ::personality(0xFFFFFFFF));
}

/// Attributes of the process that the rest of the program or a supervisor can see.
std::string identity() {
    cpu_set_t processors{};
    ::sched_getaffinity(0, sizeof processors, &processors);
    std::array<char, 17> name{};
    ::prctl(PR_GET_NAME, name.data());
    int signalOfParent = 0;
    ::prctl(PR_GET_PDEATHSIG, &signalOfParent);
    int reapsOrphans = 0;
    ::prctl(PR_GET_CHILD_SUBREAPER, &reapsOrphans);
    int cancelState = 0;
    ::pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &cancelState);
    ::pthread_setcancelstate(cancelState, nullptr);
    std::string outOfMemoryScore;
    std::ifstream("/proc/self/oom_score_adj") >> outOfMemoryScore;
    return privileges() + memoryLocking() +
           fmt::format(", timer slack {}, cancellation {}, out-of-memory score {}, ",
                       ::prctl(PR_GET_TIMERSLACK), cancelState, outOfMemoryScore) +
           fmt::format("name {}, user {}:{}, group {}:{}, process group {}, session {}, scheduling {} on {} "
                       "processors, core dumps {}, {} {}, handlers {} {}",
                       name.data(), ::getuid(), ::geteuid(), ::getgid(), ::getegid(), ::getpgrp(),
                       ::getsid(0), ::sched_getscheduler(0), CPU_COUNT(&processors), ::prctl(PR_GET_DUMPABLE),
                       signalOfParent, reapsOrphans, reinterpret_cast<std::uintptr_t>(std::get_terminate()),
                       reinterpret_cast<std::uintptr_t>(std::get_new_handler()));
}

/// The device, inode and status flags of standard input, output and error, and the format of the C++ streams.
std::string standardStreams() {
    std::string text;
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        struct stat file {};
        text += ::fstat(number, &file) == 0
                    ? fmt::format(" {}:{}:{:o}", file.st_dev, file.st_ino, ::fcntl(number, F_GETFL))
                    : " closed";
    }
    for (const std::ios* stream : {static_cast<std::ios*>(&std::cin), static_cast<std::ios*>(&std::cout),
                                   static_cast<std::ios*>(&std::cerr)}) {
        text +=
            fmt::format(" {:x}:{}:{}:{}", static_cast<unsigned>(stream->flags()), stream->precision(),
                        static_cast<int>(stream->exceptions()), static_cast<const void*>(stream->rdbuf()));
    }
    return text;
}

constexpr Property descriptors{"open descriptors", [] { return entriesOf("/proc/self/fd"); }};
constexpr Property threadsOfProcess{"threads", [] { return entriesOf("/proc/self/task"); }};
constexpr Property childProcesses{"child processes", children};
constexpr Property currentFolder{"current folder", [] { return std::filesystem::current_path().string(); }};
constexpr Property fileModeMask{"umask", umaskOfProcess};
constexpr Property locales{"locale", [] {
                               return fmt::format("{} {} {}", std::setlocale(LC_ALL, nullptr),
                                                  std::locale().name(),
                                                  static_cast<const void*>(::uselocale(nullptr)));
                           }};
constexpr Property variables{"environment", environment};
constexpr Property signalHandlers{"handling of signals", signals};
constexpr Property timersOfProcess{"timers", timers};
constexpr Property resourceLimits{"priority and limits", limits};
constexpr Property standardDescriptors{"standard streams", standardStreams};
constexpr Property attributes{"attributes", identity};
constexpr Property arithmetic{"floating-point mode", floatingPoint};

template <const Property& property>
void expectState(const std::string& before, const char* occasion) {
    constexpr int attempts =
        &property == &threadsOfProcess ? 1000 : 0; // a joined thread stays listed for a moment
    std::string seen = property.state();
    for (int i = 0; i < attempts && seen != before; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        seen = property.state();
    }
    expect(seen == before,
           fmt::format("{}, the {} of the process: {}; before: {}", occasion, property.name, seen, before));
}

/// Providers may use resources while they exist. The last one must also release what they shared.
template <const Property& property>
void goesWithProvider(CheckContext& context) {
    const std::string before = property.state(); // the library is loaded, but there is no provider yet
    useEveryOperation(context, context.provider());
    {
        const LoadedProvider another = context.library().buildProvider();
        useEveryOperation(context, *another);
        another->doShutdown();
    }
    context.close();
    expectState<property>(before, "after the last provider is destroyed");
}

template <const Property& property>
void staysAsItWas(CheckContext& context) {
    const std::string before = property.state();
    useEveryOperation(context, context.provider());
    expectState<property>(before, "with a provider");
    context.close();
    expectState<property>(before, "after a provider is destroyed");
}

std::size_t memoryInUse() {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// In pages.
std::size_t addressSpace() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages;
}

void callsNeedNoMoreMemory(CheckContext& context) {
    constexpr int rounds = 100; // of more than 100 calls each
    constexpr std::size_t smallestLeak = 24;
    const auto round = [&] { useEveryOperation(context, context.provider()); };
    for (int i = 0; i < rounds / 5; ++i) { // the provider may cache something once
        round();
    }
    const std::size_t pages = addressSpace();
    const std::size_t before = memoryInUse();
    if (before == 0) {
        skip("this allocator does not report its memory");
    }
    for (int i = 0; i < rounds; ++i) {
        round();
    }
    const std::size_t after = memoryInUse();
    expect(after < before + rounds * smallestLeak,
           fmt::format("{} calls of every operation leave {} more bytes allocated", rounds, after - before));
    expect(addressSpace() < pages + 10'000,
           fmt::format("{} calls of every operation leave {} more pages mapped", rounds,
                       addressSpace() - pages));
}

constexpr auto any = Profile::AnyProvider;

constexpr std::array table{
    Check{"15.1", "process.descriptors", "A destroyed provider leaves no descriptor open.", any,
          goesWithProvider<descriptors>},
    Check{"15.2", "process.threads", "A destroyed provider leaves no thread.", any,
          goesWithProvider<threadsOfProcess>},
    Check{"15.3", "process.children", "A destroyed provider leaves no child process.", any,
          goesWithProvider<childProcesses>},
    Check{"15.4", "process.current-folder", "A provider does not change the current folder of the process.",
          any, staysAsItWas<currentFolder>},
    Check{"15.5", "process.umask", "A provider does not change the umask.", any, staysAsItWas<fileModeMask>},
    Check{"15.6", "process.locale", "A provider does not change the locale.", any, staysAsItWas<locales>},
    Check{"15.7", "process.environment", "A provider does not change the environment.", any,
          staysAsItWas<variables>},
    Check{"15.8", "process.signals", "A provider does not change signal dispositions or the signal mask.",
          any, staysAsItWas<signalHandlers>},
    Check{"15.9", "process.floating-point", "A provider does not change the floating-point mode.", any,
          staysAsItWas<arithmetic>},
    Check{"15.10", "process.memory", "Ten thousand calls do not increase the allocated memory.", any,
          callsNeedNoMoreMemory},
    Check{"15.11", "process.timers", "A provider does not change the interval timers.", any,
          staysAsItWas<timersOfProcess>},
    Check{"15.12", "process.limits", "A provider does not change the priority or a resource limit.", any,
          staysAsItWas<resourceLimits>},
    Check{"15.13", "process.standard-streams",
          "A provider does not close, replace or reconfigure standard input, output or error.", any,
          staysAsItWas<standardDescriptors>},
    Check{
        "15.14", "process.attributes",
        "A provider does not change the name, user, privileges, process group, scheduling, memory locking or "
        "handlers of the process.",
        any, staysAsItWas<attributes>},
};

} // namespace
} // namespace process_checks

std::span<const Check> process() {
    return process_checks::table;
}

} // namespace storage::host::checks
