#include "host/ProgramOptions.h"

#include <CLI/CLI.hpp>
#include <filesystem>

namespace storage::host {

namespace {

constexpr const char* description =
    R"(A shell for storage-provider plug-ins: lists, reads, writes, moves, imports, exports
and checks the files of a storage. By default that is the in-memory one, whose content
lasts as long as the session.)";

constexpr const char* examples = R"(Examples:
  qzstorage shell                     work at a prompt; 'help' lists the commands
  qzstorage run job.qz                run a script, stopping at the first failure
  qzstorage run --keep-going job.qz   run all of it
  printf '%s\n' 'import /usr/include /include' "find /include -name '*.hpp'" check | qzstorage shell
  qzstorage --plugin ./libmyprovider.so shell

Exit status: 0 all went well, 1 a command failed, 2 wrong usage, 130 interrupted.)";

/// The plug-in that was built or installed with this program.
std::string defaultPlugin() {
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const std::filesystem::path installed = (folder / QZSTORAGE_DEFAULT_PLUGIN).lexically_normal();
    const std::filesystem::path beside = folder / installed.filename();
    return !std::filesystem::exists(installed) && std::filesystem::exists(beside) ? beside : installed;
}

} // namespace

ProgramOptions ProgramOptions::parse(int argc, const char* const* argv) {
    ProgramOptions options;
    std::string script;
    bool keepGoing = false;
    CLI::App app(description, "qzstorage");
    app.set_version_flag("--version", "qzstorage " QZSTORAGE_VERSION);
    app.require_subcommand(1);
    const CLI::Option* const plugin =
        app.add_option("--plugin", options.plugin, "The plug-in's shared library")->type_name("PATH");

    CLI::App* const shell =
        app.add_subcommand("shell", "Run lines typed at a prompt, or from the standard input");
    CLI::App* const run = app.add_subcommand("run", "Run the lines of a script");
    for (CLI::App* const command : {shell, run}) {
        command->add_flag("--keep-going", keepGoing, "Go on after a command that failed");
    }
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
    if (keepGoing) {
        options.failureHandling = FailureHandling::KeepGoing;
    }
    if (options.plugin.empty()) {
        options.plugin = defaultPlugin();
    }
    return options;
}

} // namespace storage::host
