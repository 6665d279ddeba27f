#include "host/validate/ValidateSyntax.h"

#include "host/plugin/PluginOperand.h"
#include "host/support/NonEmptyPath.h"
#include "host/support/UsageError.h"
#include "host/support/Utf.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <fmt/format.h>
#include <limits>
#include <random>

namespace storage::host {

namespace {

using Task = ValidateOptions::Task;

constexpr long longestTimeLimit = 86400;
constexpr long mostJobs = 100;
constexpr long mostRepeats = 1'000'000;

constexpr const char* validateExamples = R"(Examples:
  qzstorage validate                           check the installed in-memory plug-in
  qzstorage validate ./libmyprovider.so        check another plug-in
  qzstorage validate --only '7.*' --only '*append*' ./libmyprovider.so
  qzstorage validate --except-from exceptions.txt ./libmyprovider.so
  qzstorage validate --junit report.xml ./libmyprovider.so
  qzstorage validate --only '13.*' --repeat 50 --fail-fast ./libmyprovider.so
  qzstorage validate --list                    list the rules

Exit status: 0 no rule is broken, 1 a rule is broken, the run stopped early or the plug-in cannot
be used, 2 wrong usage, 130 interrupted.
)";

std::uint64_t seedOf(const std::string& text) {
    std::uint64_t seed = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seed);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw UsageError(fmt::format("--seed {}: a seed is a number from 0 to {}", printableInMessage(text),
                                     std::numeric_limits<std::uint64_t>::max()));
    }
    return seed;
}

/// Adds an option that may be repeated, each time with one pattern.
void addPatterns(CLI::App& command, const char* name, std::vector<std::string>& patterns,
                 const char* description) {
    command.add_option(name, patterns, description)
        ->type_name("PATTERN")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->expected(1)
        ->allow_extra_args(false);
}

/// Adds an option with a number from 1 to `most`.
template <class Number>
void addNumber(CLI::App& command, const char* name, Number& number, long most, const char* description) {
    command.add_option(name, number, description)
        ->type_name("N")
        ->check(CLI::Range(1L, most).description(""))
        ->capture_default_str();
}

/// Adds an option with a time from one second to a day.
template <class Time>
CLI::Option* addSeconds(CLI::App& command, const char* name, Time& time, const char* description) {
    return command
        .add_option_function<long>(
            name, [&time](long seconds) { time = std::chrono::seconds(seconds); }, description)
        ->type_name("SECONDS")
        ->check(CLI::Range(1L, longestTimeLimit).description(""));
}

} // namespace

ValidateSyntax::ValidateSyntax(CLI::App& app)
    : command_(
          app.add_subcommand("validate", "Check a plug-in against the contract between hosts and plug-ins")) {
    command_->add_option("PLUGIN", options_.plugin, "The plug-in's shared library")
        ->type_name("")
        ->check(nonEmptyPath());
    command_
        ->add_option("--profile", profile_,
                     "Rules to check: any for the rules of every provider, in-memory for all rules; the "
                     "default is any if a plug-in is named, otherwise in-memory")
        ->type_name("any|in-memory")
        ->check(CLI::IsMember(std::vector<std::string>(profileNames.begin(), profileNames.end()))
                    .description(""));
    CLI::Option* const list = command_->add_flag_callback(
        "--list", [this] { options_.task = Task::List; }, "List the rules, and check nothing");
    addPatterns(*command_, "--only", options_.only,
                "Check only rules with a matching number or name; may be repeated");
    addPatterns(*command_, "--except", options_.except,
                "Skip rules with a matching number or name; may be repeated");
    command_
        ->add_option("--except-from", options_.exceptFrom,
                     "Skip the rules of a file: a pattern and a reason on each line")
        ->type_name("FILE");
    command_->add_flag_callback(
        "--json", [this] { options_.format = ReportFormat::Json; }, "Print the result as JSON");
    command_->add_option("--junit", options_.junitFile, "Also write the result to FILE as JUnit XML")
        ->type_name("FILE")
        ->check(nonEmptyPath());
    list->excludes("--except")->excludes("--except-from")->excludes("--junit");
    command_
        ->add_flag_callback(
            "--markdown", [this] { options_.task = Task::ListAsMarkdown; }, "Print the list as Markdown")
        ->needs(list)
        ->excludes("--json");
    command_->add_option("--seed", seed_, "Seed of the random numbers; a random seed by default")
        ->type_name("N");
    addSeconds(*command_, "--timeout", options_.timeLimit, "Time limit of one check")->default_str("60");
    addSeconds(*command_, "--run-timeout", options_.runLimit,
               "Time limit of the whole run; unlimited by default");
    addNumber(*command_, "--jobs", options_.jobs, mostJobs, "Number of checks to run at once");
    addNumber(*command_, "--repeat", options_.repeat, mostRepeats,
              "Run each check N times with different random numbers");
    command_->add_flag("--fail-fast", options_.failFast,
                       "Stop at the first check that fails, crashes or hangs");
    command_->footer(validateExamples);
}

std::optional<ValidateOptions> ValidateSyntax::result(const std::optional<std::string>& plugin) const {
    if (!*command_) {
        return std::nullopt;
    }
    ValidateOptions options = options_;
    options.plugin = namedPlugin(plugin, options_.plugin);
    options.seed = seed_ ? seedOf(*seed_) : std::random_device{}();
    // A list contains all rules; a plug-in given by the user may have any kind of storage.
    const bool isAny = profile_ ? *profile_ == profileName(Profile::AnyProvider)
                                : options.task == Task::Check && options.plugin;
    options.profile = isAny ? Profile::AnyProvider : Profile::InMemoryProvider;
    return options;
}

} // namespace storage::host
