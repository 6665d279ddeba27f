#include "host/storage/Listing.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/Times.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <array>
#include <cfenv>
#include <cfloat>
#include <clocale>
#include <csignal>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <locale>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace storage::host::checks {

using namespace provider;

namespace process_checks {
namespace {

/// Uses various operations and removes everything they created.
void exercise(CheckContext& context, const IProvider& provider) {
    if (!provider.doFolderExists(context.at(u""))) {
        provider.doCreateFolder(context.at(u""));
    }
    const StorageIRI file = context.at(u"d/f");
    provider.doCreateFolder(context.at(u"d"));
    makeFile(provider, file, "bytes");
    provider.doSetLastModified(file, longAgo());
    provider.doSetWritable(file, false);
    provider.doSetWritable(file, true);
    provider.doCopyFile(file, context.at(u"d/g"), ReplacementPolicy::RefuseExisting);
    provider.doMoveFile(file, context.at(u"h"), ReplacementPolicy::RefuseExisting);
    provider.doMoveFolder(context.at(u"d"), context.at(u"e"), ReplacementPolicy::RefuseExisting);
    expect(contentOf(provider, context.at(u"h")) == "bytes", "a file has other bytes than were written");
    expect(sortedEntries(provider.doListAll(context.at(u""))).size() == 2,
           "a folder with 2 entries lists another number");
    expectFailure([&] { provider.doGetFileAttributes(file); }, ErrorCode::NotFound, file,
                  "asking for a moved file");
    provider.doRemoveFile(context.at(u"h"));
    provider.doRemoveFolderRecursively(context.at(u"e"));
}

/// A part of the state of the process, as text.
struct Property {
    const char* name;
    std::string (*state)();
};

std::string entriesOf(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return std::to_string(std::distance(begin(entries), end(entries)));
}

/// The process IDs. Empty if the kernel does not list children.
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
    std::string text;
    for (char* const* each = ::environ; each != nullptr && *each != nullptr; ++each) {
        text += fmt::format(" {}", *each);
    }
    return text;
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
            text += fmt::format(" {}:{}:{}", signal, reinterpret_cast<std::uintptr_t>(action.sa_handler),
                                ::sigismember(&blocked, signal));
        }
    }
    return text;
}

/// Rounding mode, enabled traps, and whether denormals are flushed to zero.
std::string floatingPoint() {
    const volatile double smallest = DBL_MIN;
    const volatile double smaller = smallest / 2;
    return fmt::format("{} {} {}", std::fegetround(), ::fegetexcept(), smaller > 0);
}

/// Which interval timers are running.
std::string timers() {
    std::string text;
    for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
        itimerval left{};
        ::getitimer(timer, &left);
        text += timerisset(&left.it_value) ? " running" : " stopped";
    }
    return text;
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

/// The device and inode of standard input, output and error.
std::string standardStreams() {
    std::string text;
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        struct stat file {};
        text += ::fstat(number, &file) == 0 ? fmt::format(" {}:{}", file.st_dev, file.st_ino) : " closed";
    }
    return text;
}

constexpr Property descriptors{"open descriptors", [] { return entriesOf("/proc/self/fd"); }};
constexpr Property threadsOfProcess{"threads", [] { return entriesOf("/proc/self/task"); }};
constexpr Property childProcesses{"child processes", children};
constexpr Property currentFolder{"current folder", [] { return std::filesystem::current_path().string(); }};
constexpr Property fileModeMask{"umask", umaskOfProcess};
constexpr Property locales{"locale",
                           [] { return std::setlocale(LC_ALL, nullptr) + (' ' + std::locale().name()); }};
constexpr Property variables{"environment", environment};
constexpr Property signalHandlers{"handling of signals", signals};
constexpr Property timersOfProcess{"timers", timers};
constexpr Property resourceLimits{"priority and limits", limits};
constexpr Property standardDescriptors{"standard streams", standardStreams};
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

/// A provider may use resources while it exists. Its destructor must release them.
template <const Property& property>
void goesWithProvider(CheckContext& context) {
    exercise(context, context.provider()); // the library may keep what it allocates once
    const std::string before = property.state();
    {
        const LoadedProvider provider = context.library().buildProvider();
        exercise(context, *provider);
    }
    expectState<property>(before, "after a provider is destroyed");
}

template <const Property& property>
void staysAsItWas(CheckContext& context) {
    const std::string before = property.state();
    exercise(context, context.provider());
    expectState<property>(before, "with a provider");
}

std::size_t memoryInUse() {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

void callsNeedNoMoreMemory(CheckContext& context) {
    constexpr int rounds = 700; // of 15 calls each
    constexpr std::size_t smallestLeak = 24;
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"f"), "bytes");
    const auto round = [&] {
        const StorageIRI file = context.at(u"f");
        const StorageIRI other = context.at(u"g");
        provider.doFileExists(file);
        provider.doFolderExists(file);
        provider.doGetFileAttributes(file);
        provider.doSetLastModified(file, longAgo());
        readEntries(provider.doListAll(context.at(u"")));
        contentOf(provider, file);
        writeText(*openStream(provider, file), "bytes");
        provider.doCreateFile(other);
        provider.doMoveFile(other, context.at(u"h"), ReplacementPolicy::RefuseExisting);
        provider.doRemoveFile(context.at(u"h"));
        provider.doCreateFolder(other);
        provider.doMoveFolder(other, context.at(u"h"), ReplacementPolicy::RefuseExisting);
        provider.doGetFolderAttributes(context.at(u"h"));
        provider.doSetWritable(context.at(u"h"), true);
        provider.doRemoveFolder(context.at(u"h"));
        try {
            provider.doRemoveFile(other);
        } catch (const Exception&) { // expected: the file was moved away
        }
    };
    for (int i = 0; i < rounds / 5; ++i) { // the provider may cache something once
        round();
    }
    const std::size_t before = memoryInUse();
    if (before == 0) {
        skip("this allocator does not count");
    }
    for (int i = 0; i < rounds; ++i) {
        round();
    }
    const std::size_t after = memoryInUse();
    expect(after < before + rounds * smallestLeak,
           fmt::format("{} calls leave {} more bytes allocated", 15 * rounds, after - before));
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
          "A provider does not close or replace standard input, output and error.", any,
          staysAsItWas<standardDescriptors>},
};

} // namespace
} // namespace process_checks

std::span<const Check> process() {
    return process_checks::table;
}

} // namespace storage::host::checks
