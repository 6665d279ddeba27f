#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"

#include <array>
#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace faults {

using namespace foundation::storage::provider;

namespace process_faults {
namespace {

/// A provider with a constructor that changes the state of the process.
template <void (*disturb)()>
class Disturbing final : public BrokenProvider {
public:
    Disturbing() { disturb(); }
};

void leaveDescriptor() {
    ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

[[noreturn]] void waitForever() {
    for (;;) {
        ::pause();
    }
}

void leaveThread() {
    std::thread(waitForever).detach();
}

void leaveChild() {
    if (::fork() == 0) {
        waitForever();
    }
}

void leaveZombie() {
    if (::fork() == 0) {
        ::_exit(0);
    }
}

/// Does something for the first provider of the library only, and never undoes it.
template <void (*action)()>
void once() {
    [[maybe_unused]] static const bool isDone = (action(), true);
}

void changeFolder() {
    std::filesystem::current_path("/proc");
}

void changeUmask() {
    ::umask(0137);
}

void changeLocale() {
    std::setlocale(LC_ALL, std::string_view(std::setlocale(LC_ALL, nullptr)) == "C" ? "C.UTF-8" : "C");
}

void changeEnvironment() {
    ::setenv("PROVIDER_WAS_HERE", "yes", /*replace*/ 1);
}

void handleSignal() {
    std::signal(SIGUSR2, SIG_IGN);
}

void roundUpwards() {
    std::fesetround(FE_UPWARD);
}

void giveUpPrivileges() {
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
}

void lockLaterMappings() {
    ::mlockall(MCL_FUTURE);
}

/// Stores every queried path until the provider is destroyed.
class Remembering final : public BrokenProvider {
public:
    bool doFileExists(const StorageIRI& iri) const override {
        asked_.push_back(iri.getPath());
        return HookedProvider::doFileExists(iri);
    }

private:
    mutable std::vector<std::u16string> asked_;
};

/// Changes the umask when it is shut down.
class UmaskAtShutdown final : public BrokenProvider {
public:
    void doShutdown() override { changeUmask(); }
};

constexpr std::array table{
    Fault{"LeavesDescriptor", "15.1", build<Disturbing<leaveDescriptor>>},
    Fault{"LeavesDescriptorOnce", "15.1", build<Disturbing<once<leaveDescriptor>>>},
    Fault{"LeavesThread", "15.2", build<Disturbing<leaveThread>>},
    Fault{"LeavesThreadOnce", "15.2", build<Disturbing<once<leaveThread>>>},
    Fault{"LeavesChild", "15.3", build<Disturbing<leaveChild>>},
    Fault{"LeavesZombieOnce", "15.3", build<Disturbing<once<leaveZombie>>>},
    Fault{"ChangesFolder", "15.4", build<Disturbing<changeFolder>>},
    Fault{"ChangesUmask", "15.5", build<Disturbing<changeUmask>>},
    Fault{"UmaskAtShutdown", "15.5", build<UmaskAtShutdown>},
    Fault{"ChangesLocale", "15.6", build<Disturbing<changeLocale>>},
    Fault{"ChangesEnvironment", "15.7", build<Disturbing<changeEnvironment>>},
    Fault{"HandlesSignal", "15.8", build<Disturbing<handleSignal>>},
    Fault{"RoundsUpwards", "15.9", build<Disturbing<roundUpwards>>},
    Fault{"RemembersEveryFile", "15.10", build<Remembering>},
    Fault{"GivesUpPrivileges", "15.14", build<Disturbing<giveUpPrivileges>>},
    Fault{"LocksLaterMappings", "15.14", build<Disturbing<lockLaterMappings>>},
};

} // namespace
} // namespace process_faults

std::span<const Fault> process() {
    return process_faults::table;
}

} // namespace faults
