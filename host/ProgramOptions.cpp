#include "host/ProgramOptions.h"

#include "host/inspect/InspectSyntax.h"
#include "host/mount/MountSyntax.h"
#include "host/mount/UnmountSyntax.h"
#include "host/support/UsageError.h"
#include "host/validate/ValidateSyntax.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <vector>

namespace storage::host {

namespace {

constexpr const char* description =
    R"(A shell for storage-provider plug-ins: lists, reads, writes, moves, imports, exports
and checks the files of a storage, or mounts it as a folder for every program; and tells
whether a plug-in keeps the rules that hosts rely on. By default the plug-in is the in-memory
one, whose content lasts as long as the session or the mount.)";

constexpr const char* examples = R"(Examples:
  qzstorage shell                     work at a prompt; 'help' lists the commands
  qzstorage run job.qz                run a script, stopping at the first failure
  qzstorage run --keep-going job.qz   run all of it
  qzstorage -c 'import project /p' -c 'cat /p/notes' | less   run lines; pipes are outside
  printf '%s\n' 'import /usr/include /include' "find /include -name '*.hpp'" check | qzstorage shell
  qzstorage --plugin ./libmyprovider.so shell
  qzstorage --plugin a=./liba.so --plugin b=./libb.so -c 'cp -r a:/x b:/y'   between two storages
  qzstorage mount --background ~/fast  mount it at a folder
  mount -t fuse.qzstorage -o size=1g fast /mnt/fast  the same, limited, as in /etc/fstab
  qzstorage unmount ~/fast            end the mount, and wait until its content is exported
  qzstorage validate ./libmyprovider.so  does it keep the rules that hosts rely on?
  qzstorage inspect ./libmyprovider.so   what is in it?

Exit status: 0 all went well, 1 a command failed, 2 wrong usage, 130 interrupted.)";

/// The plug-in that was built or installed with this program.
std::string defaultPlugin() {
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const std::filesystem::path installed = (folder / QZSTORAGE_DEFAULT_PLUGIN).lexically_normal();
    const std::filesystem::path beside = folder / installed.filename();
    return !std::filesystem::exists(installed) && std::filesystem::exists(beside) ? beside : installed;
}

/// The options of `shell` and `run`, to be read by the library.
class LinesSyntax {
public:
    explicit LinesSyntax(CLI::App& app)
        : run_(app.add_subcommand("run", "Run the lines of a script")),
          shell_(app.add_subcommand("shell", "Run lines typed at a prompt, or from the standard input")) {
        app.add_option("-c", lines_, "Run this line of the shell; may be repeated")
            ->type_name("LINE")
            ->type_size(1)
            ->allow_extra_args(false)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
        for (CLI::App* const command : {shell_, run_}) {
            command->add_flag("--keep-going", keepGoing_, "Go on after a command that failed");
        }
        run_->add_option("SCRIPT", script_, "The script's path")->required()->type_name("");
    }

    std::optional<std::string> script() const { return *run_ ? std::optional(script_) : std::nullopt; }

    /// @throws UsageError when a command is given that runs no lines
    std::optional<std::string> lines(const CLI::App& app) const {
        if (!app.get_subcommands().empty() && !*shell_ && !lines_.empty()) {
            throw UsageError("-c runs lines, so no command but shell stands beside it");
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

bool isEmpty(const std::optional<std::string>& path) {
    return path && path->empty();
}

bool hasEmptyPath(const std::vector<NamedPlugin>& plugins) {
    return std::any_of(plugins.begin(), plugins.end(),
                       [](const NamedPlugin& plugin) { return plugin.path.empty(); });
}

/// What to say when no command was recognised.
std::string commandMissing(const CLI::App& app, const LinesSyntax& lines) {
    const std::vector<std::string> words = app.remaining();
    if (lines.lines(app)) {
        return "-c takes one word, so quote the line: '" + words.front() + "' is not part of it";
    }
    std::string known;
    for (const CLI::App* const command : app.get_subcommands(nullptr)) {
        known += known.empty() ? command->get_name() : ", " + command->get_name();
    }
    return (words.empty() ? "no command given" : words.front() + ": no such command") + "; there are " +
           known;
}

} // namespace

ProgramOptions ProgramOptions::parse(int argc, const char* const* argv) {
    if (const auto call = MountHelperCall::of(argc, argv)) {
        return parse(*call);
    }
    ProgramOptions options;
    std::vector<std::string> plugins;
    CLI::App app(description, "qzstorage");
    app.set_version_flag("--version", "qzstorage " QZSTORAGE_VERSION);
    app.require_subcommand(0, 1);
    app.fallthrough(); // options of the program are understood behind a subcommand too
    app.add_option("--plugin", plugins,
                   "The plug-in's shared library; for lines of the shell several with names, for NAME:/path")
        ->type_name("[NAME=]PATH")
        ->type_size(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    const LinesSyntax lines(app);
    const MountSyntax mount(app);
    const UnmountSyntax unmount(app);
    const ValidateSyntax validate(app);
    const InspectSyntax inspect(app);
    app.footer(examples); // only now, as subcommands would take it over

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        options.message = app.help();
        return options;
    } catch (const CLI::CallForVersion& version) {
        options.message = std::string(version.what()) + '\n';
        return options;
    } catch (const CLI::ExtrasError& error) {
        throw UsageError(app.get_subcommands().empty() ? commandMissing(app, lines) : error.what());
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    options.lines = lines.lines(app);
    if (app.get_subcommands().empty() && !options.lines) {
        throw UsageError(commandMissing(app, lines));
    }
    options.plugins = namedPlugins(plugins);
    options.script = lines.script();
    options.failureHandling = lines.failureHandling();
    options.mount = mount.result();
    options.unmount = unmount.result();
    const bool isSession = app.get_subcommands().empty() || app.got_subcommand("shell") || options.script;
    std::optional<std::string> plugin = isSession ? std::nullopt : onlyPlugin(options.plugins);
    options.validate = validate.result(plugin);
    options.inspect = inspect.result(plugin);
    if (options.validate) {
        plugin = options.validate->plugin;
    } else if (options.inspect) {
        plugin = options.inspect->plugin;
    } else if (options.mount && options.mount->plugin) {
        plugin = options.mount->plugin;
    }
    if (isEmpty(plugin) || hasEmptyPath(options.plugins) || isEmpty(options.script) ||
        isEmpty(options.unmount) || (options.validate && isEmpty(options.validate->junitFile))) {
        throw UsageError("the path of a script, plug-in, mount point or report is empty");
    }
    if (!isSession || options.plugins.empty()) {
        options.plugins = {{"", plugin ? *plugin : defaultPlugin()}};
    }
    options.plugin = options.plugins.front().path;
    return options;
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
