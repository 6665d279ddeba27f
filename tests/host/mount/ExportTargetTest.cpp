#include "tests/host/mount/MountingTest.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::MatchesRegex;

/// The state of a mount's export target.
class ExportTargetTest : public MountingTest {
protected:
    void expectRefused(const Words& words, const std::string& input = "") const {
        const ProgramRun run(words, input);
        EXPECT_EQ(run.status(), 1);
        EXPECT_THAT(run.errors(),
                    MatchesRegex("qzstorage: [^\n]*another mount exports there when it ends[^\n]*\n"));
    }

    const std::string out_ = disk_ / "out";
};

TEST_F(ExportTargetTest, AllowsOneMountAtATime) {
    const std::string other = disk_.makeFolder("other");
    for (const bool exists : {false, true}) {
        expectSuccess(runMounted({"--export-on-exit", out_}, [&](pid_t) {
            write(inside("f"), "content");
            expectRefused({"mount", other, "--export-on-exit", out_});
            expectRefused({"mount", other, "--export-on-exit", disk_ / "other/../out/"});
            expectRefused({"shell"}, "write /g x\nexport / " + out_ + '\n');
            if (exists) {
                fs::create_directory_symlink(out_, disk_ / "link");
                expectRefused({"mount", other, "--export-on-exit", disk_ / "link"});
            }
            EXPECT_FALSE(isMountedAt(other));
            const ProgramRun elsewhere({"shell"}, "write /g x\nexport / " + out_ + "2\n");
            EXPECT_EQ(elsewhere.status(), 0) << elsewhere.errors();
            EXPECT_TRUE(unmount());
        }));
        EXPECT_EQ(namesIn(out_), "f");
    }
    expectSuccess(runMounted({"--export-on-exit", out_}, [&](pid_t) { EXPECT_TRUE(unmount()); }));
}

TEST_F(ExportTargetTest, KeepsOtherEntriesUnlessSynchronized) {
    for (const std::string option : {"--export-on-exit", "--sync-on-exit"}) {
        const std::string folder = disk_.makeFolder(option);
        write(folder + "/kept", "kept");
        write(folder + "/removed", "removed");
        write(folder + "/renamed", "renamed");
        fs::create_directories(folder + "/emptied/below");
        write(folder + "/emptied/below/f", "f");
        fs::create_directory(folder + "/shared");
        write(folder + "/shared/imported", "imported");
        fs::create_symlink("kept", folder + "/shared/link");
        fs::create_symlink("kept", folder + "/turned");
        fs::create_hard_link(folder + "/kept", folder + "/second");
        const ProgramRun run = runMounted({"--import", folder, option, folder}, [&](pid_t) {
            fs::remove(inside("removed"));
            fs::rename(inside("renamed"), inside("new name"));
            fs::remove_all(inside("emptied"));
            fs::remove_all(inside("shared"));
            EXPECT_EQ(fs::read_symlink(inside("turned")), "kept");
            if (option == "--sync-on-exit") { // otherwise the link is in the way
                fs::remove(inside("turned"));
                write(inside("turned"), "now a file");
            }
            fs::create_symlink("made", inside("new link"));
            write(inside("made"), "made");
            write(inside("kept"), "changed");
            write(folder + "/appeared", "appeared");
            EXPECT_TRUE(unmount());
        });
        EXPECT_EQ(run.status(), 0) << run.errors();
        if (option == "--sync-on-exit") {
            EXPECT_EQ(namesIn(folder), "appeared kept made new link new name second turned");
            EXPECT_EQ(readFile(folder + "/turned"), "now a file");
        } else {
            EXPECT_EQ(namesIn(folder),
                      "appeared emptied kept made new link new name removed renamed second shared turned");
        }
        EXPECT_EQ(fs::read_symlink(folder + "/new link"), "made");
        EXPECT_TRUE(fs::equivalent(folder + "/kept", folder + "/second"));
        EXPECT_EQ(readFile(folder + "/kept"), "changed");
        EXPECT_EQ(readFile(folder + "/new name"), "renamed");
    }
}

TEST_F(ExportTargetTest, KeepsEntriesThatChangedOnDisk) {
    const std::string folder = disk_.makeFolder("folder");
    for (const char* name : {"/written", "/replaced", "/linked", "/same"}) {
        write(folder + name, "imported");
    }
    fs::create_directory(folder + "/d");
    write(folder + "/d/f", "imported");
    const std::string elsewhere = disk_.makeFolder("elsewhere");
    write(elsewhere + "/f", "another");
    expectSuccess(runMounted({"--import", folder, "--sync-on-exit", folder}, [&](pid_t) {
        for (const auto& entry : fs::directory_iterator(mountPoint_)) {
            fs::remove_all(entry.path());
        }
        write(folder + "/written", "written since");
        write(folder + "/.new", "imported");
        fs::last_write_time(folder + "/.new", fs::last_write_time(folder + "/replaced"));
        fs::rename(folder + "/.new", folder + "/replaced");
        fs::remove(folder + "/linked");
        fs::create_symlink("same", folder + "/linked");
        fs::rename(folder + "/d", disk_ / "moved");
        fs::create_directory_symlink(elsewhere, folder + "/d");
        EXPECT_TRUE(unmount());
    }));
    EXPECT_EQ(namesIn(folder), "d linked replaced written");
    EXPECT_EQ(namesIn(elsewhere), "f") << "a link was followed";
    EXPECT_EQ(namesIn(disk_ / "moved"), "f");
}

TEST_F(ExportTargetTest, ReplacesFilesByFoldersAndTheReverse) {
    const std::string folder = disk_.makeFolder("folder");
    fs::create_directories(folder + "/d/e");
    write(folder + "/d/e/f", "below");
    write(folder + "/f", "file");
    fs::create_directory(folder + "/guarded");
    write(folder + "/guarded/f", "imported");
    const ProgramRun run =
        runMounted({"--import", folder, "--sync-on-exit", folder, "--rescue", disk_ / "rescue"}, [&](pid_t) {
            fs::rename(inside("d"), inside("moved"));
            write(inside("d"), "now a file");
            fs::remove(inside("f"));
            fs::create_directory(inside("f"));
            write(inside("f/g"), "now a folder");
            fs::remove_all(inside("guarded"));
            write(inside("guarded"), "now a file");
            write(folder + "/guarded/appeared", "appeared");
            const ProgramRun refused({"unmount", mountPoint_});
            EXPECT_THAT(refused.errors(), HasSubstr("/guarded: a folder is in the way"));
            fs::remove(folder + "/guarded/appeared");
            expectSuccess(ProgramRun({"unmount", mountPoint_}));
        });
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(namesIn(folder), "d f guarded moved");
    EXPECT_EQ(readFile(folder + "/d"), "now a file");
    EXPECT_EQ(readFile(folder + "/f/g"), "now a folder");
    EXPECT_EQ(readFile(folder + "/moved/e/f"), "below");
}

TEST_F(ExportTargetTest, SynchronizesOnlyTheImportedFolder) {
    const std::string folder = disk_.makeFolder("folder");
    const std::string other = disk_.makeFolder("other");
    const ProgramRun run({"mount", mountPoint_, "--import", folder, "--sync-on-exit", other});
    EXPECT_EQ(run.status(), 1);
    EXPECT_THAT(run.errors(), HasSubstr("other: not the folder of --import"));
    for (const Words& words :
         {Words{"mount", mountPoint_, "--sync-on-exit", folder},
          {"mount", mountPoint_, "--import", folder, "--sync-on-exit", folder, "--export-on-exit", other}}) {
        EXPECT_EQ(ProgramRun(words).status(), 2);
    }
}

} // namespace

} // namespace storage::tests
