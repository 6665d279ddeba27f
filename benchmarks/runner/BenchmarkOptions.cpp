#include "benchmarks/runner/BenchmarkOptions.h"

#include "benchmarks/stores/ProviderStore.h"

#include <CLI/CLI.hpp>

namespace storage::benchmark {

namespace {

constexpr const char* description =
    R"(Measures the in-memory storage plug-in beside other in-memory file systems.
Each repetition of a scenario runs in a process of its own, the stores in turn. What was done is verified.)";

constexpr const char* footer =
    R"(Exit status: 0 all went well, 1 a result was wrong or a store failed, 2 wrong usage, 130 interrupted.)";

} // namespace

BenchmarkOptions BenchmarkOptions::parse(int argc, char** argv) {
    BenchmarkOptions options;
    bool isShort = false;
    CLI::App app(description, "qzstorage_benchmark");
    app.footer(footer);
    app.add_flag("--short", isShort, "Small sizes and one repetition, to see that all works");
    const auto* const repetitions =
        app.add_option("--repetitions", options.repetitions, "Of each scenario with each store (5)")
            ->check(CLI::Range(1, 1000));
    app.add_option("--only", options.only, "Run the scenarios whose name matches")->type_name("GLOB");
    app.add_option("--stores", options.stores,
                   "Run these stores: provider, tmpfs, rocksdb, leveldb, llvm, floor, memcpy")
        ->delimiter(',')
        ->type_name("ID,...");
    app.add_option("--plugin", options.plugin, "The plug-in's shared library")->type_name("PATH");
    app.add_option("--command", options.command, "What to name as the command of the run (this program)")
        ->type_name("TEXT");
    app.add_option("--results", options.results, "Write the results as lines of JSON")->type_name("FILE");
    app.add_option("--runs", options.runs, "Write each repetition as a line of JSON")->type_name("FILE");
    app.add_option("--table", options.table, "Write the table here, too")->type_name("FILE");
    app.add_option("--data", options.data, "Write the data of the plots")->type_name("FOLDER");
    app.add_option("--scenario", options.scenario)->group("");
    app.add_option("--tmpfs", options.tmpfsFolder)->group("");
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
    if (options.plugin.empty()) {
        options.plugin = ProviderStore::defaultPlugin();
    }
    return options;
}

} // namespace storage::benchmark
