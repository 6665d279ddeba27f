#include "host/ProgramOptions.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <vector>

namespace storage::tests {

namespace {

using host::MountOptions;
using host::ProgramOptions;
using host::UsageError;

ProgramOptions parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "qzstorage");
    return ProgramOptions::parse(static_cast<int>(arguments.size()), arguments.data());
}

ProgramOptions parseAs(std::vector<const char*> words) {
    return ProgramOptions::parse(static_cast<int>(words.size()), words.data());
}

MountOptions parseMount(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "mount");
    return parse(std::move(arguments)).mount.value();
}

std::string here(const std::string& name) {
    return (std::filesystem::current_path() / name).string();
}

TEST(ProgramOptionsTest, SetsMountOnlyForMount) {
    EXPECT_FALSE(parse({"shell"}).mount);
    EXPECT_FALSE(parse({"run", "script"}).mount);
}

TEST(ProgramOptionsTest, ParsesUnmount) {
    EXPECT_EQ(parse({"unmount", "some/folder"}).unmount, "some/folder");
    EXPECT_FALSE(parse({"mount", "some/folder"}).unmount);
    EXPECT_THROW(parse({"unmount"}), host::UsageError);
    EXPECT_THROW(parse({"unmount", ""}), host::UsageError);
}

TEST(ProgramOptionsTest, RequiresOnlyAMountPointForMount) {
    const MountOptions options = parseMount({"/some/folder"});
    EXPECT_EQ(options.mountPoint, "/some/folder");
    EXPECT_FALSE(options.importFrom);
    EXPECT_FALSE(options.exportTo);
    EXPECT_EQ(options.place, MountOptions::Place::Foreground);
    EXPECT_EQ(options.writing, MountOptions::Writing::Allowed);
    EXPECT_EQ(options.users, MountOptions::Users::Owner);
    EXPECT_GE(options.threads, 2U);
    EXPECT_LE(options.threads, 8U);
}

TEST(ProgramOptionsTest, ParsesEachMountOption) {
    const MountOptions options =
        parseMount({"--background", "--import", "/in", "--export-on-exit", "/out", "--read-only",
                    "--allow-other", "--threads", "17", "--rescue", "/rescue", "/some/folder"});
    EXPECT_EQ(options.mountPoint, "/some/folder");
    EXPECT_EQ(options.importFrom, "/in");
    EXPECT_EQ(options.exportTo, "/out");
    EXPECT_EQ(options.rescueTo, "/rescue");
    EXPECT_EQ(options.place, MountOptions::Place::Background);
    EXPECT_EQ(options.writing, MountOptions::Writing::Refused);
    EXPECT_EQ(options.users, MountOptions::Users::Everybody);
    EXPECT_EQ(options.threads, 17U);
}

TEST(ProgramOptionsTest, ConvertsMountPathsToAbsolutePaths) {
    const MountOptions options = parseMount({"folder/", "--import", "in", "--export-on-exit", "a/../out"});
    EXPECT_EQ(options.mountPoint, here("folder"));
    EXPECT_EQ(options.importFrom, here("in"));
    EXPECT_EQ(options.exportTo, here("a/../out")) << "a may be a link to a folder elsewhere";
    EXPECT_EQ(parseMount({"/"}).mountPoint, "/");
}

TEST(ProgramOptionsTest, AcceptsAPluginForMount) {
    EXPECT_EQ(parse({"--plugin", "/p.so", "mount", "/m"}).plugin, "/p.so");
    EXPECT_NE(parse({"mount", "/m"}).plugin, "") << "the one that belongs to the program";
}

TEST(ProgramOptionsTest, AcceptsSeveralPluginsForSessionsOnly) {
    for (const auto& options : {parse({"--plugin", "a=1.so", "--plugin", "b=2.so", "shell"}),
                                parse({"run", "script", "--plugin", "a=1.so", "--plugin", "b=2.so"}),
                                parse({"--plugin", "a=1.so", "-c", "pwd", "--plugin", "b=2.so"})}) {
        ASSERT_EQ(options.plugins.size(), 2U);
        EXPECT_EQ(options.plugins[0].name, "a");
        EXPECT_EQ(options.plugins[1].path, "2.so");
    }
    ASSERT_EQ(parse({"shell"}).plugins.size(), 1U);
    EXPECT_EQ(parse({"shell"}).plugins[0].name, "");
    for (const char* const command : {"mount", "unmount", "validate", "inspect"}) {
        EXPECT_THROW(parse({"--plugin", "a=1.so", "--plugin", "b=2.so", command, "/x"}), UsageError);
        EXPECT_THROW(parse({"--plugin", "a=1.so", command, "/x"}), UsageError);
    }
}

TEST(ProgramOptionsTest, RejectsWrongMountArguments) {
    using Arguments = std::vector<const char*>;
    for (const Arguments& arguments : {Arguments{"mount"},
                                       {"mount", ""},
                                       {"mount", "/m", "/n"},
                                       {"mount", "/m", "--import"},
                                       {"mount", "/m", "--import", ""},
                                       {"mount", "/m", "--export-on-exit", ""},
                                       {"mount", "/m", "--threads", "0"},
                                       {"mount", "/m", "--threads", "257"},
                                       {"mount", "/m", "--threads", "many"},
                                       {"mount", "/m", "--unknown"},
                                       {"mount", "/m", "shell"}}) {
        EXPECT_THROW(parse(arguments), UsageError) << testing::PrintToString(arguments);
    }
}

TEST(ProgramOptionsTest, CombinesOptionListsAndOptions) {
    const auto options =
        parseAs({"qzstorage", "mount", "-o", "size=1m,threads=5", "/m", "-o", "ro,plugin=/p.so"});
    EXPECT_EQ(options.mount->size, 1U << 20U);
    EXPECT_EQ(options.mount->threads, 5U);
    EXPECT_EQ(options.mount->writing, MountOptions::Writing::Refused);
    EXPECT_EQ(options.mount->mountPoint, "/m");
    EXPECT_EQ(options.plugin, "/p.so");
    EXPECT_EQ(parseAs({"qzstorage", "mount", "/m", "--threads", "7", "-o", "threads=5"}).mount->threads, 7U);
    EXPECT_THROW(parseAs({"qzstorage", "mount", "/m", "-o", "sync_on_exit=/x"}), UsageError);
    EXPECT_THROW(parseAs({"qzstorage", "mount", "/m", "-o", "frobnicate"}), UsageError);
}

TEST(ProgramOptionsTest, ParsesMountHelperArguments) {
    const auto options = parseAs({"/sbin/mount.fuse.qzstorage", "store", "/m", "-nvs", "-o",
                                  "rw,size=1m,strange", "-t", "fuse.qzstorage"});
    ASSERT_TRUE(options.mount);
    EXPECT_EQ(options.mount->source, "store");
    EXPECT_EQ(options.mount->mountPoint, "/m");
    EXPECT_EQ(options.mount->size, 1U << 20U);
    EXPECT_EQ(options.mount->place, MountOptions::Place::Background);
    EXPECT_FALSE(options.message);
    EXPECT_EQ(parseAs({"mount.fuse.qzstorage", "-oro", "store", "/m"}).mount->writing,
              MountOptions::Writing::Refused);
}

TEST(ProgramOptionsTest, OnlyChecksFakeMountHelperCalls) {
    EXPECT_EQ(parseAs({"mount.fuse.qzstorage", "store", "/m", "-f"}).message, "");
    EXPECT_THROW(parseAs({"mount.fuse.qzstorage", "store", "/m", "-f", "-o", "strange"}), UsageError);
}

TEST(ProgramOptionsTest, RejectsOtherMountHelperArguments) {
    using Words = std::vector<const char*>;
    for (const Words& words :
         {Words{}, {"store"}, {"store", "/m", "/n"}, {"store", "/m", "-o"}, {"store", "/m", "-x"}}) {
        Words all{"mount.fuse.qzstorage"};
        all.insert(all.end(), words.begin(), words.end());
        EXPECT_THROW(parseAs(all), UsageError) << testing::PrintToString(words);
    }
}

TEST(ProgramOptionsTest, RejectsAnUnknownOption) {
    for (const char* const option : {"-x", "--unknown"}) {
        EXPECT_THAT([&] { parse({option}); },
                    testing::ThrowsMessage<UsageError>(std::string(option) +
                                                       ": unknown option (try 'qzstorage --help')"));
    }
}

TEST(ProgramOptionsTest, ListsTheCommandsForAnUnknownOne) {
    const std::string known =
        "; commands are run, shell, mount, unmount, validate, inspect (try 'qzstorage --help')";
    EXPECT_THAT([] { parse({"help"}); }, testing::ThrowsMessage<UsageError>("help: unknown command" + known));
    EXPECT_THAT([] { parse({}); }, testing::ThrowsMessage<UsageError>("missing command" + known));
    EXPECT_THAT([] { parse({"run"}); },
                testing::ThrowsMessage<UsageError>("SCRIPT is required (try 'qzstorage run --help')"));
}

} // namespace

} // namespace storage::tests
