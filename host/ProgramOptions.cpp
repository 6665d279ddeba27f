#include "host/ProgramOptions.h"

#include "host/inspect/InspectSyntax.h"
#include "host/mount/MountSyntax.h"
#include "host/mount/UnmountSyntax.h"
#include "host/support/NonEmptyPath.h"
#include "host/support/UsageError.h"
#include "host/validate/ValidateSyntax.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <vector>

namespace storage::host {

namespace {

constexpr const char* description =
    R"(Use, mount and validate storage-provider plug-ins. The shell lists, reads, writes, copies,
moves, imports, exports and compares files of a storage. The default plug-in keeps its content
in memory, until the session or the mount ends.)";

constexpr const char* examples = R"(Examples:
  qzstorage shell                     run commands at a prompt; 'help' lists them
  qzstorage run job.qz                run a script, stop at the first failure
  qzstorage run --keep-going job.qz   run a script to its end
  qzstorage -c 'import project /p' -c 'cat /p/notes' | less   run lines in a pipeline
  printf '%s\n' 'import /usr/include /include' "find /include -name '*.hpp'" check | qzstorage shell
  qzstorage --plugin ./libmyprovider.so shell
  qzstorage --plugin a=./liba.so --plugin b=./libb.so -c 'cp -r a:/x b:/y'   copy between storages
  qzstorage mount --background ~/fast  mount a storage at a folder
  mount -t fuse.qzstorage -o size=1g fast /mnt/fast  the same by mount(8), with a size limit
  qzstorage unmount ~/fast            end the mount and wait for its export
  qzstorage validate ./libmyprovider.so  check a plug-in against the contract
  qzstorage inspect ./libmyprovider.so   show exports, dependencies and features of a plug-in

Exit status: 0 success, 1 a command failed, 2 wrong usage, 130 interrupted.)";

/// Returns the path of the plug-in that was built or installed with this program.
std::string defaultPlugin() {
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const std::filesystem::path installed = (folder / QZSTORAGE_DEFAULT_PLUGIN).lexically_normal();
    const std::filesystem::path beside = folder / installed.filename();
    return !std::filesystem::exists(installed) && std::filesystem::exists(beside) ? beside : installed;
}

/// The options of `shell`, `run` and `-c`, parsed by the command-line library.
class LinesSyntax {
public:
    explicit LinesSyntax(CLI::App& app)
        : run_(app.add_subcommand("run", "Run the lines of a script")),
          shell_(app.add_subcommand("shell", "Run lines typed at a prompt or read from the standard input")) {
        app.add_option("-c", lines_, "Run a line; may be repeated")
            ->type_name("LINE")
            ->type_size(1)
            ->allow_extra_args(false)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
        for (CLI::App* const command : {shell_, run_}) {
            command->add_flag("--keep-going", keepGoing_, "Continue after a failed command");
        }
        run_->add_option("SCRIPT", script_, "Path of the script")
            ->required()
            ->type_name("")
            ->check(nonEmptyPath());
    }

    std::optional<std::string> script() const { return *run_ ? std::optional(script_) : std::nullopt; }

    /// @throws UsageError when -c is combined with a subcommand that runs no lines
    std::optional<std::string> lines(const CLI::App& app) const {
        if (!app.get_subcommands().empty() && !*shell_ && !lines_.empty()) {
            throw UsageError("-c cannot be combined with a subcommand other than shell");
        }
        std::string text;
        for (const std::string& line : lines_) {
            text += line + '\n';
        }
        return lines_.empty() ? std::nullopt : std::optional(text);
    }

    FailureHandling failureHandling() const {
        return keepGoing_ ? FailureHandling::KeepGoing : FailureHandling::Stop;
    }

private:
    CLI::App* run_;
    CLI::App* shell_;
    std::string script_;
    std::vector<std::string> lines_;
    bool keepGoing_ = false;
};

/// The options and subcommands of the program. Parses one command line.
class CommandLine {
public:
    CommandLine() {
        app_.set_version_flag("--version", "qzstorage " QZSTORAGE_VERSION);
        app_.require_subcommand(0, 1);
        app_.add_option("--plugin", plugins_,
                        "Shared library of the plug-in; shell, run and -c accept several, used as NAME:/path")
            ->type_name("[NAME=]PATH")
            ->type_size(1)
            ->allow_extra_args(false)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
        app_.footer(examples); // after the subcommands were added, because they would inherit it
        for (CLI::App* const command : app_.get_subcommands(nullptr)) {
            command->fallthrough(); // options of the program may also follow the subcommand
        }
    }

    /// @throws UsageError
    ProgramOptions parse(int argc, const char* const* argv) {
        ProgramOptions options;
        try {
            app_.parse(argc, argv);
        } catch (const CLI::CallForHelp&) {
            options.message = app_.help();
            return options;
        } catch (const CLI::CallForVersion& version) {
            options.message = std::string(version.what()) + '\n';
            return options;
        } catch (const CLI::ExtrasError& error) {
            throw UsageError(hasCommand() ? error.what() : commandMissing());
        } catch (const CLI::ParseError& error) {
            throw UsageError(error.what());
        }
        options.lines = lines_.lines(app_);
        if (!hasCommand() && !options.lines) {
            throw UsageError(commandMissing());
        }
        options.program = program();
        options.script = lines_.script();
        options.failureHandling = lines_.failureHandling();
        options.mount = mount_.result();
        options.unmount = unmount_.result();
        choosePlugins(options);
        return options;
    }

    /// The program and the subcommand that was found.
    std::string program() const {
        return hasCommand() ? "qzstorage " + app_.get_subcommands().front()->get_name() : "qzstorage";
    }

private:
    bool hasCommand() const { return !app_.get_subcommands().empty(); }

    /// Returns the message for a missing or unknown subcommand, or for an unknown option in its place.
    std::string commandMissing() const {
        const std::vector<std::string> words = app_.remaining();
        if (lines_.lines(app_)) {
            return "-c takes one argument, so '" + words.front() + "' is extra; quote the whole line";
        }
        if (!words.empty() && words.front().starts_with('-')) {
            return words.front() + ": unknown option";
        }
        std::string known;
        for (const CLI::App* const command : app_.get_subcommands(nullptr)) {
            known += known.empty() ? command->get_name() : ", " + command->get_name();
        }
        return (words.empty() ? "missing command" : words.front() + ": unknown command") + "; commands are " +
               known;
    }

    void choosePlugins(ProgramOptions& options) const {
        options.plugins = namedPlugins(plugins_);
        const bool isSession = !hasCommand() || app_.got_subcommand("shell") || options.script;
        std::optional<std::string> plugin = isSession ? std::nullopt : onlyPlugin(options.plugins);
        options.validate = validate_.result(plugin);
        options.inspect = inspect_.result(plugin);
        if (options.validate) {
            plugin = options.validate->plugin;
        } else if (options.inspect) {
            plugin = options.inspect->plugin;
        } else if (options.mount && options.mount->plugin) {
            plugin = options.mount->plugin;
        }
        if (!isSession || options.plugins.empty()) {
            options.plugins = {{"", plugin ? *plugin : defaultPlugin()}};
        }
        options.plugin = options.plugins.front().path;
    }

    CLI::App app_{description, "qzstorage"};
    std::vector<std::string> plugins_;
    LinesSyntax lines_{app_};
    MountSyntax mount_{app_};
    UnmountSyntax unmount_{app_};
    ValidateSyntax validate_{app_};
    InspectSyntax inspect_{app_};
};

std::optional<MountHelperCall> helperCall(int argc, const char* const* argv) {
    try {
        return MountHelperCall::of(argc, argv);
    } catch (const UsageError& error) {
        throw ProgramOptions::withHint(error, "qzstorage mount");
    }
}

} // namespace

ProgramOptions ProgramOptions::parse(int argc, const char* const* argv) {
    if (const auto call = helperCall(argc, argv)) {
        return parse(*call);
    }
    CommandLine line;
    try {
        return line.parse(argc, argv);
    } catch (const UsageError& error) {
        throw withHint(error, line.program());
    }
}

UsageError ProgramOptions::withHint(const UsageError& error, const std::string& program) {
    return UsageError(std::string(error.what()) + " (try '" + program + " --help')");
}

ProgramOptions ProgramOptions::parse(const MountHelperCall& call) {
    std::vector<const char*> words;
    for (const std::string& word : call.words) {
        words.push_back(word.c_str());
    }
    ProgramOptions options = parse(static_cast<int>(words.size()), words.data());
    if (call.isFake) {
        options.message = "";
    }
    return options;
}

} // namespace storage::host
