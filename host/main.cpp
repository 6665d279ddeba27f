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
#include "host/support/Interruption.h"
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

bool isInteractive(const ProgramOptions& options) {
    return !options.script && !options.lines && kindOf(STDIN_FILENO) == OutputKind::Terminal &&
           kindOf(STDOUT_FILENO) == OutputKind::Terminal;
}

/// The value of an environment variable; nothing if it is unset.
std::optional<std::string_view> variable(const char* name) {
    const char* const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): no other thread yet
    return value == nullptr ? std::nullopt : std::optional<std::string_view>(value);
}

bool wantsColors() {
    const auto terminal = variable("TERM");
    return kindOf(STDOUT_FILENO) == OutputKind::Terminal && variable("NO_COLOR").value_or("").empty() &&
           terminal && terminal != "dumb";
}

/// The history of interactive sessions; nothing if the user turned it off.
std::optional<HistoryFile> historyFile() {
    return variable("HISTFILE") == "" ? std::nullopt : std::optional<HistoryFile>(stateFolder() + "/history");
}

/// Opens standard descriptors that the caller closed. Otherwise the next opened file would get such a number,
/// and output would be written into that file. They are opened in the wrong direction, so that reads and
/// writes fail as on a closed descriptor.
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

    /// Shuts all providers down, even if one of them fails.
    /// @return whether all succeeded
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

ExitStatus runScript(const ProgramOptions& options, Session& session) {
    Interruption::check();
    const FileDescriptor script(*options.script, O_RDONLY); // blocks if it is a fifo
    DescriptorLineSource lines(script.number(), *options.script, DescriptorLineSource::Places::Shown);
    session.setInput(STDIN_FILENO);
    return Shell(commandTable(), session, options.failureHandling).run(lines);
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

ExitStatus runPrompt(const ProgramOptions& options, Session& session) {
    Console& console = session.console();
    console.out() << describePlugins(options.plugins, console)
                  << "; 'help' lists the commands, Tab completes words\n"
                  << std::flush;
    session.setInput(STDIN_FILENO);
    TerminalLineSource lines(commandTable(), session, historyFile());
    return Shell(commandTable(), session, FailureHandling::Interactive).run(lines);
}

ExitStatus runLines(const ProgramOptions& options, Session& session) {
    if (options.script) {
        return runScript(options, session);
    }
    if (options.lines) {
        TextLineSource lines(*options.lines);
        session.setInput(STDIN_FILENO);
        return Shell(commandTable(), session, options.failureHandling).run(lines);
    }
    if (isInteractive(options)) {
        return runPrompt(options, session);
    }
    DescriptorLineSource lines(STDIN_FILENO, "standard input", DescriptorLineSource::Places::Hidden);
    return Shell(commandTable(), session, options.failureHandling).run(lines);
}

ExitStatus runSession(const ProgramOptions& options, Console& console) {
    const Interruption interruption;
    const Providers providers(options.plugins); // must outlive exceptions of the plug-ins
    return runReported(console, [&] {
        Session session(providers.named(), console);
        const ExitStatus status = runLines(options, session);
        console.beginLine(""); // later failures belong to no command
        return providers.shutDown(console) ? status : ExitStatus::Failure;
    });
}

/// Raises the limit of open files: a transfer keeps a descriptor open for every folder between the top of the
/// tree and the current entry.
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

/// Adds a hint to usage errors, and the name of the failed call to system errors.
ExitStatus runCommandLine(int argc, const char* const* argv, Console& console) {
    const ProgramOptions options = ProgramOptions::parse(argc, argv);
    try {
        return runTask(options, console);
    } catch (const UsageError& error) {
        throw ProgramOptions::withHint(error, options.program);
    } catch (const OutputError&) {
        throw;
    } catch (const std::filesystem::filesystem_error&) { // names its path
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
        if (error.code().value() != EPIPE) { // silent if the reader has closed the pipe
            std::cerr << "qzstorage: standard output: " << error.code().message() << '\n';
        }
    } catch (const std::bad_alloc&) { // printed without allocating memory
        std::fputs("qzstorage: out of memory\n", stderr);
    }
    return ExitStatus::Failure;
}

} // namespace

} // namespace storage::host

int main(int argc, char** argv) {
    storage::host::fillStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN); // a write to a closed pipe fails with EPIPE instead,
    std::signal(SIGXFSZ, SIG_IGN); // and a write beyond the file size limit with EFBIG
    std::signal(SIGCHLD, SIG_DFL); // if it is ignored, waitpid(2) returns no exit status
    storage::host::allowManyDescriptors();
    return static_cast<int>(storage::host::runProgram(argc, argv));
}
