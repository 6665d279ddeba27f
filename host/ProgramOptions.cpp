#include "host/ProgramOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <thread>

namespace storage::host {

namespace {

constexpr const char* description =
    R"(A shell for storage-provider plug-ins: lists, reads, writes, moves, imports, exports
and checks the files of a storage, or mounts it as a folder for every program. By default
that is the in-memory one, whose content lasts as long as the session or the mount.)";

constexpr const char* examples = R"(Examples:
  qzstorage shell                     work at a prompt; 'help' lists the commands
  qzstorage run job.qz                run a script, stopping at the first failure
  qzstorage run --keep-going job.qz   run all of it
  printf '%s\n' 'import /usr/include /include' "find /include -name '*.hpp'" check | qzstorage shell
  qzstorage --plugin ./libmyprovider.so shell
  qzstorage mount --background ~/fast  mount it at a folder; 'fusermount3 -u ~/fast' ends it

Exit status: 0 all went well, 1 a command failed, 2 wrong usage, 130 interrupted.)";

/// The plug-in that was built or installed with this program.
std::string defaultPlugin() {
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const std::filesystem::path installed = (folder / QZSTORAGE_DEFAULT_PLUGIN).lexically_normal();
    const std::filesystem::path beside = folder / installed.filename();
    return !std::filesystem::exists(installed) && std::filesystem::exists(beside) ? beside : installed;
}

/// More threads than processors would only take turns, and one alone would let a long write hold up everybody.
unsigned usualThreads() {
    return std::clamp(std::thread::hardware_concurrency(), 2U, 8U);
}

/// The options of `mount`, to be read by the library and then made a value.
class MountSyntax {
public:
    explicit MountSyntax(CLI::App& app) {
        command_ = app.add_subcommand("mount", "Mount the storage at a folder, for every program to use");
        command_->add_option("MOUNTPOINT", options_.mountPoint, "The folder")->required()->type_name("");
        command_->add_flag("--background", background_, "Return as soon as the mount answers");
        command_->add_option("--import", import_, "Begin with the content of a folder of the disk")
            ->type_name("DISK-PATH");
        command_->add_option("--export-on-exit", export_, "Copy the content to the disk at the end")
            ->type_name("DISK-PATH");
        command_->add_flag("--read-only", readOnly_, "Refuse all changes");
        command_->add_flag("--allow-other", allowOther_,
                           "Let other users in, as far as permissions let them");
        command_->add_option("--threads", options_.threads, "How many requests to work on at once")
            ->type_name("N")
            ->check(CLI::Range(1, 256).description(""))
            ->capture_default_str();
    }

    /// @throws UsageError
    std::optional<MountOptions> result() const {
        if (!*command_) {
            return std::nullopt;
        }
        MountOptions options = options_;
        options.mountPoint = absolute(options_.mountPoint);
        options.importFrom = import_ ? std::optional(absolute(*import_)) : std::nullopt;
        options.exportTo = export_ ? std::optional(absolute(*export_)) : std::nullopt;
        options.place = background_ ? MountOptions::Place::Background : MountOptions::Place::Foreground;
        options.writing = readOnly_ ? MountOptions::Writing::Refused : MountOptions::Writing::Allowed;
        options.users = allowOther_ ? MountOptions::Users::Everybody : MountOptions::Users::Owner;
        return options;
    }

private:
    static std::string absolute(const std::string& path) {
        if (path.empty()) {
            throw UsageError("the path of a folder is empty");
        }
        // As it is written otherwise: ".." behind a link leads elsewhere than the text says.
        const std::string whole = std::filesystem::absolute(path);
        return whole.substr(0, std::max<std::size_t>(whole.find_last_not_of('/') + 1, 1));
    }

    CLI::App* command_;
    MountOptions options_{.threads = usualThreads()};
    std::optional<std::string> import_;
    std::optional<std::string> export_;
    bool background_ = false;
    bool readOnly_ = false;
    bool allowOther_ = false;
};

} // namespace

ProgramOptions ProgramOptions::parse(int argc, const char* const* argv) {
    ProgramOptions options;
    std::string script;
    bool keepGoing = false;
    CLI::App app(description, "qzstorage");
    app.set_version_flag("--version", "qzstorage " QZSTORAGE_VERSION);
    app.require_subcommand(1);
    app.fallthrough(); // options of the program are understood behind a subcommand too
    const CLI::Option* const plugin =
        app.add_option("--plugin", options.plugin, "The plug-in's shared library")->type_name("PATH");

    CLI::App* const shell =
        app.add_subcommand("shell", "Run lines typed at a prompt, or from the standard input");
    CLI::App* const run = app.add_subcommand("run", "Run the lines of a script");
    for (CLI::App* const command : {shell, run}) {
        command->add_flag("--keep-going", keepGoing, "Go on after a command that failed");
    }
    const MountSyntax mount(app);
    run->add_option("SCRIPT", script, "The script's path")->required()->type_name("");

    app.footer(examples); // only now, as subcommands would take it over

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        options.message = app.help();
        return options;
    } catch (const CLI::CallForVersion& version) {
        options.message = std::string(version.what()) + '\n';
        return options;
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    if (*run) {
        options.script = script;
    }
    if ((plugin->count() > 0 && options.plugin.empty()) || (options.script && options.script->empty())) {
        throw UsageError("the path of a script or plug-in is empty");
    }
    options.mount = mount.result();
    if (keepGoing) {
        options.failureHandling = FailureHandling::KeepGoing;
    }
    if (options.plugin.empty()) {
        options.plugin = defaultPlugin();
    }
    return options;
}

} // namespace storage::host
