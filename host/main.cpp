#include "host/ProgramOptions.h"
#include "host/commands/CommandTable.h"
#include "host/console/DescriptorOutput.h"
#include "host/console/RunReported.h"
#include "host/disk/FileDescriptor.h"
#include "host/inspect/InspectRun.h"
#include "host/mount/MountRun.h"
#include "host/mount/UnmountRun.h"
#include "host/plugin/PluginLibrary.h"
#include "host/shell/DescriptorLineSource.h"
#include "host/shell/Shell.h"
#include "host/shell/TerminalLineSource.h"
#include "host/shell/TextLineSource.h"
#include "host/support/StateFolder.h"
#include "host/support/UsageError.h"
#include "host/validate/ValidateRun.h"
#include "host/validate/checks/CheckCatalogue.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <new>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace storage::host {

namespace {

OutputKind kindOf(int descriptor) {
    return ::isatty(descriptor) == 1 ? OutputKind::Terminal : OutputKind::Plain;
}

bool isForPerson(const ProgramOptions& options) {
    return !options.script && !options.lines && kindOf(STDIN_FILENO) == OutputKind::Terminal &&
           kindOf(STDOUT_FILENO) == OutputKind::Terminal;
}

/// The value of a variable of the environment; nothing if it is not set.
std::optional<std::string_view> variable(const char* name) {
    const char* const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): before any thread
    return value == nullptr ? std::nullopt : std::optional<std::string_view>(value);
}

bool wantsColors() {
    const auto terminal = variable("TERM");
    return kindOf(STDOUT_FILENO) == OutputKind::Terminal && variable("NO_COLOR").value_or("").empty() &&
           terminal && terminal != "dumb";
}

/// Where the lines typed by a person are kept; nothing if they are not to be.
std::optional<HistoryFile> historyFile() {
    return variable("HISTFILE") == "" ? std::nullopt : std::optional<HistoryFile>(stateFolder() + "/history");
}

/// A standard descriptor that the caller closed would otherwise be given to the next file that is opened, and
/// output would land in it. Reading or writing these fails like a closed one.
void fillStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) < 0) {
            ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

/// The providers of a session.
class Providers {
public:
    explicit Providers(const std::vector<NamedPlugin>& plugins) : plugins_(plugins) {
        for (const NamedPlugin& plugin : plugins_) {
            loaded_.push_back(PluginLibrary(plugin.path).buildProvider());
        }
    }

    std::vector<Session::NamedProvider> named() const {
        std::vector<Session::NamedProvider> result;
        for (std::size_t i = 0; i < loaded_.size(); ++i) {
            result.push_back({plugins_[i].name, *loaded_[i]});
        }
        return result;
    }

    /// Shuts all down, also behind one that fails.
    /// @return whether none failed
    bool shutDown(Console& console) const {
        for (const LoadedProvider& provider : loaded_) {
            console.attempt("", [&] { provider->doShutdown(); });
        }
        return console.failuresOfCommand() == 0;
    }

private:
    const std::vector<NamedPlugin>& plugins_;
    std::vector<LoadedProvider> loaded_;
};

ExitStatus runScript(const ProgramOptions& options, Session& session, Interruption& interruption) {
    interruption.check();
    const FileDescriptor script(*options.script, O_RDONLY); // waits, if it is a fifo
    DescriptorLineSource lines(script.number(), *options.script, interruption,
                               DescriptorLineSource::Places::Shown);
    session.setInput(STDIN_FILENO);
    return Shell(commandTable(), session, interruption, options.failureHandling).run(lines);
}

/// "Plug-in a.so", or "Plug-ins mem: a.so, disk: b.so".
std::string describePlugins(const std::vector<NamedPlugin>& plugins, const Console& console) {
    std::string text = plugins.size() == 1 ? "Plug-in " : "Plug-ins ";
    for (const NamedPlugin& plugin : plugins) {
        text += &plugin == &plugins.front() ? "" : ", ";
        text += plugin.name.empty() ? "" : plugin.name + ": ";
        text += console.shown(std::filesystem::path(plugin.path).filename().native());
    }
    return text;
}

ExitStatus runPrompt(const ProgramOptions& options, Session& session, Interruption& interruption) {
    Console& console = session.console();
    console.out() << describePlugins(options.plugins, console)
                  << "; 'help' lists the commands, Tab completes words\n"
                  << std::flush;
    session.setInput(STDIN_FILENO);
    TerminalLineSource lines(commandTable(), session, interruption, historyFile());
    return Shell(commandTable(), session, interruption, FailureHandling::AskPerson).run(lines);
}

ExitStatus runLines(const ProgramOptions& options, Session& session, Interruption& interruption) {
    if (options.script) {
        return runScript(options, session, interruption);
    }
    if (options.lines) {
        TextLineSource lines(*options.lines);
        session.setInput(STDIN_FILENO);
        return Shell(commandTable(), session, interruption, options.failureHandling).run(lines);
    }
    if (isForPerson(options)) {
        return runPrompt(options, session, interruption);
    }
    DescriptorLineSource lines(STDIN_FILENO, "standard input", interruption,
                               DescriptorLineSource::Places::Hidden);
    return Shell(commandTable(), session, interruption, options.failureHandling).run(lines);
}

ExitStatus runSession(const ProgramOptions& options, Console& console) {
    Interruption interruption;
    const Providers providers(options.plugins); // outlive their exceptions
    return runReported(console, [&] {
        Session session(providers.named(), console, interruption);
        const ExitStatus status = runLines(options, session, interruption);
        console.beginLine(""); // a failure from here on is of no command
        return providers.shutDown(console) ? status : ExitStatus::Failure;
    });
}

/// A transfer holds a descriptor of every folder between the top of a tree and the place where it works.
void allowManyDescriptors() {
    constexpr rlim_t enough = 65536;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < enough) {
        limit.rlim_cur = std::min(limit.rlim_max, enough);
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

ExitStatus runTask(const ProgramOptions& options, Console& console) {
    if (options.message) {
        console.out() << *options.message << std::flush;
        return ExitStatus::Success;
    }
    if (options.mount) {
        return runMount(options.plugin, *options.mount, console);
    }
    if (options.unmount) {
        return runUnmount(*options.unmount, console);
    }
    if (options.validate) {
        return runValidate(options.plugin, *options.validate, checkCatalogue(), console);
    }
    if (options.inspect) {
        return runInspect(options.plugin, *options.inspect, console);
    }
    return runSession(options, console);
}

/// Adds to failures of the command line where help is, and to those of the system which call failed.
ExitStatus runCommandLine(int argc, const char* const* argv, Console& console) {
    try {
        return runTask(ProgramOptions::parse(argc, argv), console);
    } catch (const UsageError& error) {
        throw UsageError(std::string(error.what()) + " (try 'qzstorage --help')");
    } catch (const OutputError&) {
        throw;
    } catch (const std::system_error& error) {
        throw std::runtime_error(error.what());
    }
}

ExitStatus runProgram(int argc, const char* const* argv) {
    DescriptorOutput buffer(STDOUT_FILENO);
    std::ostream out(&buffer);
    out.exceptions(std::ios_base::badbit);
    Console console(out, kindOf(STDOUT_FILENO), std::cerr, kindOf(STDERR_FILENO));
    if (wantsColors()) {
        console.useColors();
    }
    try {
        return runReported(console, [&] { return runCommandLine(argc, argv, console); });
    } catch (const OutputError& error) {
        if (error.code().value() != EPIPE) { // whose reader is gone wants no more to be said
            std::cerr << "qzstorage: standard output: " << error.code().message() << '\n';
        }
    } catch (const std::bad_alloc&) { // not even for the message is there memory
        std::fputs("qzstorage: out of memory\n", stderr);
    }
    return ExitStatus::Failure;
}

} // namespace

} // namespace storage::host

int main(int argc, char** argv) {
    storage::host::fillStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN); // a reader that goes away is noticed by the write that fails,
    std::signal(SIGXFSZ, SIG_IGN); // and so is a limit on the size of files
    std::signal(SIGCHLD, SIG_DFL); // who ignores it is not told how its processes ended
    storage::host::allowManyDescriptors();
    return static_cast<int>(storage::host::runProgram(argc, argv));
}
