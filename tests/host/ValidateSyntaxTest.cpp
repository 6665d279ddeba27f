#include "host/ProgramOptions.h"

#include <gtest/gtest.h>
#include <vector>

namespace storage::tests {

namespace {

using namespace host;

ProgramOptions parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "qzstorage");
    return ProgramOptions::parse(static_cast<int>(arguments.size()), arguments.data());
}

ValidateOptions parseValidate(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "validate");
    return parse(std::move(arguments)).validate.value();
}

TEST(ValidateSyntaxTest, SetsValidateOnlyForValidate) {
    EXPECT_FALSE(parse({"shell"}).validate);
    EXPECT_FALSE(parse({"inspect"}).validate);
    EXPECT_FALSE(parse({"validate"}).inspect);
}

TEST(ValidateSyntaxTest, HasDefaultsForAllOptions) {
    const ProgramOptions options = parse({"validate"});
    EXPECT_EQ(options.plugin, parse({"shell"}).plugin);
    EXPECT_EQ(options.validate->task, ValidateOptions::Task::Check);
    EXPECT_FALSE(options.validate->plugin);
    EXPECT_EQ(options.validate->profile, Profile::InMemoryProvider);
    EXPECT_TRUE(options.validate->only.empty());
    EXPECT_EQ(options.validate->format, ReportFormat::Text);
    EXPECT_FALSE(options.validate->junitFile);
    EXPECT_EQ(options.validate->timeLimit, std::chrono::seconds(60));
    EXPECT_NE(options.validate->seed, parseValidate({}).seed) << "another at each run";
}

TEST(ValidateSyntaxTest, AcceptsThePluginAsOptionOrOperand) {
    for (const ProgramOptions& options :
         {parse({"validate", "./p.so"}), parse({"--plugin", "./p.so", "validate"}),
          parse({"validate", "--plugin", "./p.so"})}) {
        EXPECT_EQ(options.plugin, "./p.so");
        EXPECT_EQ(options.validate->plugin, "./p.so");
        EXPECT_EQ(options.validate->profile, Profile::AnyProvider) << "it may be of any kind";
    }
    EXPECT_EQ(parse({"inspect", "./p.so"}).plugin, "./p.so");
    EXPECT_EQ(parse({"inspect", "--plugin", "./p.so"}).plugin, "./p.so");
}

TEST(ValidateSyntaxTest, ParsesEachOption) {
    const ValidateOptions options = parseValidate({"--profile",
                                                   "in-memory",
                                                   "--only",
                                                   "1.*",
                                                   "--only",
                                                   "*x*",
                                                   "--except",
                                                   "1.2",
                                                   "--except",
                                                   "y",
                                                   "--except-from",
                                                   "e.txt",
                                                   "--json",
                                                   "--junit",
                                                   "r.xml",
                                                   "--seed",
                                                   "18446744073709551615",
                                                   "--run-timeout",
                                                   "60",
                                                   "--jobs",
                                                   "4",
                                                   "--repeat",
                                                   "3",
                                                   "--fail-fast",
                                                   "--timeout",
                                                   "5",
                                                   "./p.so"});
    EXPECT_EQ(options.plugin, "./p.so");
    EXPECT_EQ(options.profile, Profile::InMemoryProvider);
    EXPECT_EQ(options.only, (std::vector<std::string>{"1.*", "*x*"}));
    EXPECT_EQ(options.except, (std::vector<std::string>{"1.2", "y"}));
    EXPECT_EQ(options.exceptFrom, "e.txt");
    EXPECT_EQ(options.format, ReportFormat::Json);
    EXPECT_EQ(options.junitFile, "r.xml");
    EXPECT_EQ(options.seed, 18446744073709551615U);
    EXPECT_EQ(options.timeLimit, std::chrono::seconds(5));
    EXPECT_EQ(options.runLimit, std::chrono::seconds(60));
    EXPECT_EQ(options.jobs, 4U);
    EXPECT_EQ(options.repeat, 3U);
    EXPECT_TRUE(options.failFast);
    EXPECT_EQ(parseValidate({"--profile", "any"}).profile, Profile::AnyProvider);
    EXPECT_EQ(parseValidate({"--only", "1.*", "./p.so"}).plugin, "./p.so");
}

TEST(ValidateSyntaxTest, ListsAllRulesByDefault) {
    const ValidateOptions options = parseValidate({"--list", "./p.so"});
    EXPECT_EQ(options.task, ValidateOptions::Task::List);
    EXPECT_EQ(options.profile, Profile::InMemoryProvider);
    EXPECT_EQ(parseValidate({"--list", "--profile", "any"}).profile, Profile::AnyProvider);
    EXPECT_EQ(parseValidate({"--list", "--markdown"}).task, ValidateOptions::Task::ListAsMarkdown);
}

TEST(ValidateSyntaxTest, RejectsWrongArguments) {
    using Words = std::vector<const char*>;
    for (const Words& arguments : {Words{"validate", "--plugin", "/p.so", "/q.so"},
                                   {"inspect", "--plugin", "/p.so", "/q.so"},
                                   {"validate", "/p.so", "/q.so"},
                                   {"validate", ""},
                                   {"inspect", ""},
                                   {"validate", "--profile", "some"},
                                   {"validate", "--only"},
                                   {"validate", "--except"},
                                   {"validate", "--list", "--except", "1.2"},
                                   {"validate", "--markdown"},
                                   {"validate", "--list", "--markdown", "--json"},
                                   {"validate", "--list", "--except-from", "e.txt"},
                                   {"validate", "--seed", "x"},
                                   {"validate", "--seed", "-1"},
                                   {"validate", "--timeout", "0"},
                                   {"validate", "--timeout", "100000"},
                                   {"validate", "--timeout", "soon"},
                                   {"validate", "--run-timeout", "0"},
                                   {"validate", "--jobs", "0"},
                                   {"validate", "--jobs", "-1"},
                                   {"validate", "--repeat", "0"},
                                   {"validate", "--junit"},
                                   {"inspect", "--list"}}) {
        EXPECT_THROW(parse(arguments), UsageError) << testing::PrintToString(arguments);
    }
}

} // namespace

} // namespace storage::tests
