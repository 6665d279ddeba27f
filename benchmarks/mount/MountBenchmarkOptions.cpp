#include "benchmarks/mount/MountBenchmarkOptions.h"

#include <CLI/CLI.hpp>

namespace storage::benchmark {

namespace {

constexpr const char* description =
    R"(Measures the mounted storage beside a tmpfs folder and a pass-through file system over tmpfs.
Each repetition of a job runs in a process of its own and in a fresh place, the places in turn. What was done is verified.)";

constexpr const char* footer =
    R"(Exit status: 0 all went well, 1 a result was wrong or a place failed, 2 wrong usage, 130 interrupted.)";

} // namespace

MountBenchmarkOptions MountBenchmarkOptions::parse(int argc, char** argv) {
    MountBenchmarkOptions options;
    bool isShort = false;
    CLI::App app(description, "qzstorage_mount_benchmark");
    app.footer(footer);
    app.add_flag("--short", isShort, "Small sizes and one repetition, to see that all works");
    const auto* const repetitions =
        app.add_option("--repetitions", options.repetitions, "Of each job in each place (5)")
            ->check(CLI::Range(1, 1000));
    app.add_option("--only", options.only, "Run the jobs whose name matches")->type_name("GLOB");
    app.add_option("--places", options.places, "Run them in these places: tmpfs, pass-through, mount")
        ->delimiter(',')
        ->type_name("ID,...");
    app.add_option("--program", options.program, "The program that mounts the storage")->type_name("PATH");
    app.add_option("--pass-through", options.passThrough, "The pass-through file system's program")
        ->type_name("PATH");
    app.add_option("--command", options.command, "What to name as the command of the run (this program)")
        ->type_name("TEXT");
    app.add_option("--results", options.results, "Write the results as lines of JSON")->type_name("FILE");
    app.add_option("--runs", options.runs, "Write each repetition as a line of JSON")->type_name("FILE");
    app.add_option("--table", options.table, "Write the table here, too")->type_name("FILE");
    app.add_option("--job", options.job)->group("");
    app.add_option("--folder", options.folder)->group("");
    app.add_option("--source", options.source)->group("");
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        options.help = app.help();
        return options;
    }
    if (isShort) {
        options.form = Form::Short;
        options.repetitions = repetitions->count() > 0 ? options.repetitions : 1;
    }
    return options;
}

} // namespace storage::benchmark
