#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

namespace storage::tests {

namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Json = nlohmann::json;

const std::string badPlugin = TEST_BAD_PLUGINS "/libBadProvider.so";
const std::string noPlugin = TEST_BAD_PLUGINS "/libNoEntryPoint.so";

ProgramRun inspectBad(const std::vector<std::string>& arguments, const char* wrong) {
    return {arguments, "", [&] { ::setenv("BAD_PLUGIN", wrong, /*replace*/ 1); }};
}

TEST(InspectProgramTest, PrintsTheDescriptionOfThePlugin) {
    const ProgramRun run({"inspect", TEST_PLUGIN});
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(run.errors(), "");
    EXPECT_THAT(run.output(), StartsWith("file         " TEST_PLUGIN "\nsize         "));
    EXPECT_THAT(run.output(), HasSubstr("\nneeds        libqzflstorageprovider.so"));
    EXPECT_THAT(run.output(),
                HasSubstr("\nentry point  buildProvider_V1\nalso exports storage::inmemoryprovider::"
                          "buildInMemoryProvider()\n"));
    EXPECT_THAT(run.output(), HasSubstr("\nfeatures     6 VolatileStorage\n"));
    EXPECT_THAT(run.output(), HasSubstr("\noperations   51: 18 overridden, 33 defaults\n"
                                        "  overridden doCreateFile\n  overridden doCreateFolder\n"
                                        "     default doCreateFolderRecursive\n"));
    EXPECT_TRUE(run.output().ends_with("     default doTruncateToSize\n"));
}

TEST(InspectProgramTest, ShowsTheSameAsJson) {
    const ProgramRun run({"inspect", "--json"});
    EXPECT_EQ(run.status(), 0);
    const Json plugin = Json::parse(run.output());
    EXPECT_EQ(plugin["tool"], "qzstorage");
    EXPECT_TRUE(std::filesystem::equivalent(plugin["file"].get<std::string>(), TEST_PLUGIN));
    EXPECT_EQ(plugin["size"], std::filesystem::file_size(TEST_PLUGIN));
    EXPECT_THAT(plugin["soname"].get<std::string>(), StartsWith("libqzstorageinmemoryprovider.so"));
    EXPECT_THAT(plugin["needed"].get<std::vector<std::string>>(),
                Contains(StartsWith("libqzflstorageprovider.so")));
    EXPECT_EQ(plugin["entryPoint"], Json::parse(R"({"name": "buildProvider_V1", "exported": true})"));
    EXPECT_EQ(plugin["otherExports"], Json::array({"storage::inmemoryprovider::buildInMemoryProvider()"}));
    const Json& provider = plugin["provider"];
    EXPECT_EQ(provider["features"], Json::parse(R"([{"number": 6, "name": "VolatileStorage"}])"));
    EXPECT_EQ(provider["ownOperations"], 18);
    EXPECT_EQ(provider["hostOperations"], 33);
    ASSERT_EQ(provider["operations"].size(), 51U);
    EXPECT_EQ(provider["operations"][2], Json::parse(R"({"name": "doCreateFolderRecursive", "by": "host"})"));
}

TEST(InspectProgramTest, PrintsTheOverriddenOperations) {
    const ProgramRun run = inspectBad({"inspect", badPlugin}, "");
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.output(), HasSubstr("51: 20 overridden, 31 defaults\n"));
    EXPECT_THAT(run.output(), HasSubstr("\n  overridden doShutdown\n"));
}

TEST(InspectProgramTest, DescribesALibraryWithoutEntryPoint) {
    const ProgramRun run({"inspect", noPlugin});
    EXPECT_EQ(run.status(), 1);
    EXPECT_THAT(run.output(),
                AllOf(HasSubstr("\nentry point  buildProvider_V1 is missing\nalso exports "),
                      HasSubstr(" answer\n"), // a sanitizer exports more
                      HasSubstr("\nno provider  " + noPlugin +
                                ": not a storage-provider plug-in: no symbol buildProvider_V1\n")));
    const Json plugin = Json::parse(ProgramRun({"inspect", "--json", noPlugin}).output());
    EXPECT_EQ(plugin["entryPoint"]["exported"], false);
    EXPECT_THAT(plugin["provider"]["failure"].get<std::string>(), HasSubstr("no symbol buildProvider_V1"));
}

TEST(InspectProgramTest, PrintsCNamesWithoutDemangling) {
    const Json plugin = Json::parse(ProgramRun({"inspect", "--json", noPlugin}).output());
    EXPECT_THAT(plugin["otherExports"].get<std::vector<std::string>>(),
                AllOf(Contains("i"), Not(Contains("int"))));
}

TEST(InspectProgramTest, AcceptsAnyBytesInAPath) {
    const TemporaryFolder folder;
    const std::string library = folder / "quote\" backslash\\ line\nbreak \xC3\xBC \xFF.so";
    std::filesystem::copy_file(noPlugin, library);
    const Json plugin = Json::parse(ProgramRun({"inspect", "--json", library}).output());
    EXPECT_EQ(plugin["file"], folder / "quote\" backslash\\ line\nbreak \xC3\xBC \xEF\xBF\xBD.so");
    EXPECT_THAT(
        ProgramRun({"inspect", library}).output(),
        StartsWith("file         " + folder / "quote\" backslash\\ line\\nbreak \xC3\xBC \\xFF.so\n"));
}

TEST(InspectProgramTest, PrintsDependenciesEvenIfTheyAreMissing) {
    const TemporaryFolder folder;
    std::string bytes = readFile(TEST_PLUGIN);
    const std::string needed = "libqzflstorageprovider.so";
    ASSERT_NE(bytes.find(needed), std::string::npos);
    for (std::size_t at = 0; (at = bytes.find(needed, at)) != std::string::npos;) {
        bytes.replace(at, needed.size(), "libqzflstorageprovideX.so");
    }
    const std::string library = folder.write("library.so", bytes);
    const ProgramRun run({"inspect", library});
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(run.errors(), "");
    EXPECT_THAT(run.output(), HasSubstr("\nneeds        libqzflstorageprovideX.so"));
    EXPECT_THAT(run.output(), HasSubstr("\nentry point  buildProvider_V1\n"));
    EXPECT_THAT(run.output(),
                HasSubstr("\nno provider  " + library + ": cannot load plug-in: libqzflstorageprovideX.so"));
    const Json plugin = Json::parse(ProgramRun({"inspect", "--json", library}).output());
    EXPECT_THAT(plugin["needed"].get<std::vector<std::string>>(),
                Contains(StartsWith("libqzflstorageprovideX.so")));
    EXPECT_THAT(plugin["provider"]["failure"].get<std::string>(), HasSubstr("libqzflstorageprovideX.so"));
}

TEST(InspectProgramTest, PrintsWhyThereIsNoProvider) {
    EXPECT_THAT(inspectBad({"inspect", badPlugin}, "entry nothing").output(),
                HasSubstr("\nno provider  " + badPlugin + ": the plug-in returned no provider\n"));
    const ProgramRun run = inspectBad({"inspect", badPlugin}, "entry own");
    EXPECT_EQ(run.status(), 1);
    EXPECT_THAT(run.output(), HasSubstr("the plug-in returned no provider: the tape is torn\n"));
}

TEST(InspectProgramTest, ReportsAFileThatIsNoLibraryInOneLine) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "some text");
    const ProgramRun run({"inspect", file});
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(run.output(), "");
    EXPECT_THAT(run.errors(), StartsWith("qzstorage: " + file + ": cannot load plug-in: "));
    const std::string fifo = folder / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(ProgramRun({"inspect", fifo}).errors(), "qzstorage: " + fifo + ": not a regular file\n");
}

TEST(InspectProgramTest, PrintsExamplesInItsHelp) {
    EXPECT_THAT(ProgramRun({"inspect", "--help"}).output(), HasSubstr("Examples:\n  qzstorage inspect "));
}

TEST(InspectProgramTest, SeparatesTheOutputOfThePluginFromTheDescription) {
    const ProgramRun run = inspectBad({"inspect", "--json", badPlugin}, "entry announce");
    EXPECT_EQ(run.status(), 0);
    EXPECT_TRUE(Json::accept(run.output())) << run.output();
    EXPECT_EQ(run.errors(), "ready\n");
}

TEST(InspectProgramTest, ReportsACrashingPluginInOneLine) {
    const ProgramRun run = inspectBad({"inspect", badPlugin}, "entry signal9");
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.errors(),
              "qzstorage: " + badPlugin + ": the process that loaded it was terminated by SIGKILL\n");
}

} // namespace

} // namespace storage::tests
