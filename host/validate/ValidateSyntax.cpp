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

Exit status: 0 no rule is broken, 1 a rule is broken or the plug-in cannot be used, 2 wrong
usage, 130 interrupted.
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

Profile profileOf(const std::string& name) {
    return name == profileName(Profile::AnyProvider) ? Profile::AnyProvider : Profile::InMemoryProvider;
}

/// Adds an option that may be repeated, each time with one pattern.
CLI::Option* addPatterns(CLI::App& command, const char* name, std::vector<std::string>& patterns,
                         const char* description) {
    return command.add_option(name, patterns, description)
        ->type_name("PATTERN")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->expected(1)
        ->allow_extra_args(false);
}

/// Adds an option with a number from 1 to `most`.
template <class Number>
CLI::Option* addNumber(CLI::App& command, const char* name, Number& number, long most, const char* type,
                       const char* description) {
    return command.add_option(name, number, description)
        ->type_name(type)
        ->check(CLI::Range(1L, most).description(""));
}

} // namespace

ValidateSyntax::ValidateSyntax(CLI::App& app)
    : command_(
          app.add_subcommand("validate", "Check a plug-in against the contract between hosts and plug-ins")) {
    command_->add_option("PLUGIN", plugin_, "The plug-in's shared library")
        ->type_name("")
        ->check(nonEmptyPath());
    command_
        ->add_option("--profile", profile_,
                     "Rules to check: any for the rules of every provider, in-memory for all rules; the "
                     "default is any if a plug-in is named, otherwise in-memory")
        ->type_name("any|in-memory")
        ->check(CLI::IsMember(std::vector<std::string>(profileNames.begin(), profileNames.end()))
                    .description(""));
    CLI::Option* const list = command_->add_flag("--list", list_, "List the rules, and check nothing");
    addPatterns(*command_, "--only", options_.only,
                "Check only rules with a matching number or name; may be repeated");
    CLI::Option* const except = addPatterns(*command_, "--except", options_.except,
                                            "Skip rules with a matching number or name; may be repeated");
    CLI::Option* const exceptFrom =
        command_
            ->add_option("--except-from", options_.exceptFrom,
                         "Skip the rules of a file: a pattern and a reason on each line")
            ->type_name("FILE");
    list->excludes(except)->excludes(exceptFrom);
    command_->add_flag("--json", json_, "Print the result as JSON");
    CLI::Option* const junit =
        command_->add_option("--junit", options_.junitFile, "Also write the result to FILE as JUnit XML")
            ->type_name("FILE")
            ->check(nonEmptyPath());
    list->excludes(junit);
    command_->add_flag("--markdown", markdown_, "Print the list as Markdown")
        ->needs(list)
        ->excludes("--json");
    command_->add_option("--seed", seed_, "Seed of the random numbers; a random seed by default")
        ->type_name("N");
    addNumber(*command_, "--timeout", timeLimit_, longestTimeLimit, "SECONDS", "Time limit of one check")
        ->capture_default_str();
    addNumber(*command_, "--run-timeout", runLimit_, longestTimeLimit, "SECONDS",
              "Time limit of the whole run; unlimited by default");
    addNumber(*command_, "--jobs", options_.jobs, mostJobs, "N", "Number of checks to run at once")
        ->capture_default_str();
    addNumber(*command_, "--repeat", options_.repeat, mostRepeats, "N",
              "Run each check N times with different random numbers")
        ->capture_default_str();
    command_->add_flag("--fail-fast", options_.failFast, "Stop at the first check that does not pass");
    command_->footer(validateExamples);
}

std::optional<ValidateOptions> ValidateSyntax::result(const std::optional<std::string>& plugin) const {
    if (!*command_) {
        return std::nullopt;
    }
    ValidateOptions options = options_;
    using Task = ValidateOptions::Task;
    options.task = markdown_ ? Task::ListAsMarkdown : list_ ? Task::List : Task::Check;
    options.plugin = namedPlugin(plugin, plugin_);
    options.profile = profile_ ? profileOf(*profile_) : usualProfile(options);
    options.format = json_ ? ReportFormat::Json : ReportFormat::Text;
    options.seed = seed_ ? seedOf(*seed_) : std::random_device{}();
    options.timeLimit = std::chrono::seconds(timeLimit_);
    if (runLimit_) {
        options.runLimit = std::chrono::seconds(*runLimit_);
    }
    return options;
}

/// The default profile. A list contains all rules; a plug-in given by the user may have any kind of storage.
Profile ValidateSyntax::usualProfile(const ValidateOptions& options) const {
    return list_ || !options.plugin ? Profile::InMemoryProvider : Profile::AnyProvider;
}

} // namespace storage::host
