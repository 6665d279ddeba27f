#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Unprivileged.h"

#include <cstdlib>
#include <elf.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <iostream>
#include <sys/stat.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::EndsWith;
using testing::Eq;
using testing::MatchesRegex;

const std::string badPlugin = std::string(TEST_BAD_PLUGINS) + "/libBadProvider.so";
const std::string noEntryPoint = std::string(TEST_BAD_PLUGINS) + "/libNoEntryPoint.so";

/// A misbehaviour of the plug-in, and the message that the user reads.
struct Misbehaviour {
    std::string name;
    std::string reason; ///< a regular expression
};

const std::vector<Misbehaviour> thrown{
    {"standard", R"(the tape\\nis stuck)"},
    {"number", "an exception of type int"},
    {"unknown", R"(an exception of type \(anonymous namespace\)::UnknownFailure)"},
    {"own", "the tape is torn"},
    {"memory", "out of memory"},
    {"code", R"(unknown error \(code 77\))"},
};

/// An operation of the plug-in, and a command line that calls it at "/bad".
struct Use {
    std::string operation;
    std::string setup; ///< lines that succeed
    std::string line;  ///< DISK stands for a folder on the disk
};

const std::string makeFile = "write /bad x\n";
const std::string moveFileThere = "write /g xyz\nmv /g /bad\n"; ///< without opening it there
const std::string makeFolder = "mkdir /bad\ntouch /bad/f\n";

/// Every operation that the program uses, for each kind of command that uses it.
const std::vector<Use> uses{
    {"createFile", "", "touch /bad"},
    {"createFile", "", "truncate -s 3 /bad"},
    {"createFolder", "", "mkdir /bad"},
    {"createFolder", "", "mkdir -p /bad/s"},
    {"createFolder", "", "import DISK/folder /bad"},
    {"createFolder", "mkdir /a\n", "cp -r /a /bad"},
    {"fileExists", "", "stat /bad"},
    {"fileExists", "", "write /bad x"},
    {"folderExists", "", "stat /bad"},
    {"folderExists", "", "cd /bad"},
    {"folderExists", "", "tree /bad"},
    {"folderExists", "write /g x\n", "cp /g /bad"},
    {"folderExists", "write /g x\n", "mv /g /bad"},
    {"folderExists", "", "import DISK/file /bad"},
    {"fileExists", "", "export /bad DISK/out"},
    {"removeFile", makeFile, "rm /bad"},
    {"removeFile", makeFolder, "rm -r /bad"},
    {"moveFile", makeFile, "mv /bad /g"},
    {"moveFile", "write /g x\n", "cp /g /bad"},
    {"removeFolder", "mkdir /bad\n", "rmdir /bad"},
    {"removeFolder", "mkdir /bad\n", "rm -r /bad"},
    {"moveFolder", makeFolder, "mv /bad /g"},
    {"getFileAttributes", makeFile, "stat /bad"},
    {"getFileAttributes", makeFile, "du /bad"},
    {"getFileAttributes", makeFile, "ls -l /bad"},
    {"getFileAttributes", makeFile, "export /bad DISK/out"},
    {"getFolderAttributes", makeFolder, "stat /bad"},
    {"getFolderAttributes", makeFolder, "mv /bad /g"},
    {"openStream", "", "write /bad x"},
    {"openStream", moveFileThere, "append /bad x"},
    {"openStream", moveFileThere, "truncate -s 1 /bad"},
    {"openStream", moveFileThere, "truncate -s 100 /bad"},
    {"openStream", "", "import DISK/file /bad"},
    {"openStream", "write /g x\n", "cp /g /bad"},
    {"openReadOnlyStream", makeFile, "cat /bad"},
    {"openReadOnlyStream", makeFile, "cp /bad /g"},
    {"openReadOnlyStream", makeFile, "truncate -s 1 /bad"},
    {"openReadOnlyStream", makeFile, "export /bad DISK/out"},
    {"openReadOnlyStream", "import DISK/file /bad\n", "check"},
    {"listAll", makeFolder, "ls /bad"},
    {"listAll", makeFolder, "ls -R /bad"},
    {"listAll", makeFolder, "ls /bad/*"},
    {"listAll", makeFolder, "tree /bad"},
    {"listAll", makeFolder, "find /bad"},
    {"listAll", makeFolder, "find / -name bad"},
    {"listAll", makeFolder, "du /bad"},
    {"listAll", makeFolder, "rm -r /bad"},
    {"listAll", makeFolder, "cp -r /bad /g"},
    {"listAll", makeFolder, "mv /bad /g"},
    {"listAll", makeFolder, "export /bad DISK/out"},
    {"listAll", "import DISK/folder /bad\n", "check"},
    {"listFolders", makeFolder, "ls /bad/*/"},
    {"setLastModified", makeFile, "touch /bad"},
    {"setLastModified", "", "import DISK/file /bad"},
    {"setWritable", makeFile, "chmod -w /bad"},
    {"setWritable", "", "import DISK/folder /bad"},
    {"read", makeFile, "cat /bad"},
    {"read", makeFile, "cp /bad /g"},
    {"read", makeFile, "export /bad DISK/out"},
    {"read", "import DISK/file /bad\n", "check"},
    {"write", "", "write /bad x"},
    {"write", "", "truncate -s 3 /bad"},
    {"write", "", "import DISK/file /bad"},
    {"write", "write /g x\n", "cp /g /bad"},
    {"flush", "write /g x\n", "cp /g /bad"},
    {"hasNext", makeFolder, "ls /bad"},
    {"hasNext", makeFolder, "find /bad"},
    {"step", makeFolder, "ls /bad"},
    {"step", makeFolder, "find /bad"},
    {"getEntry", makeFolder, "ls /bad"},
    {"getEntry", makeFolder, "find /bad"},
};

class BadPluginTest : public testing::Test {
protected:
    BadPluginTest() {
        disk_.write("file", "some bytes");
        disk_.makeFolder("folder");
    }

    /// Runs lines on a plug-in with an `operation` that misbehaves at "/bad".
    static ProgramRun runOn(const std::string& operation, const std::string& misbehaviour,
                            const std::vector<std::string>& arguments, const std::string& lines) {
        std::vector<std::string> all{"--plugin", badPlugin};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return {all, lines,
                [&] { ::setenv("BAD_PLUGIN", (operation + ' ' + misbehaviour).c_str(), /*replace*/ 1); }};
    }

    std::string withDisk(std::string line) const {
        const std::string word = "DISK";
        const std::size_t place = line.find(word);
        return place == std::string::npos ? line : line.replace(place, word.size(), disk_.path());
    }

    enum class Script { Stops, GoesOn };

    void expectOneClearLine(const Use& use, const Misbehaviour& misbehaviour, Script script) {
        SCOPED_TRACE(use.operation + ' ' + misbehaviour.name + ": " + use.line);
        const std::string line = withDisk(use.line);
        const std::vector<std::string> stops{"shell"};
        const std::vector<std::string> goesOn{"shell", "--keep-going"};
        const ProgramRun run =
            runOn(use.operation, misbehaviour.name, script == Script::Stops ? stops : goesOn,
                  withDisk(use.setup) + line + "\npwd\n");
        EXPECT_EQ(run.status(), 1);
        EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: " + line.substr(0, line.find(' ')) +
                                               ": /[^\n]*: " + misbehaviour.reason + '\n'));
        EXPECT_EQ(run.output().ends_with("/\n"), script == Script::GoesOn) << "the last line";
        expectNothingUnfinishedOnDisk();
        ++runs_;
    }

    /// A failed export leaves only the folders that it created before a listing failed.
    void expectNothingUnfinishedOnDisk() {
        EXPECT_THAT(namesIn(disk_.path()), AnyOf(Eq("file folder"), Eq("file folder out")));
        EXPECT_FALSE(fs::is_regular_file(disk_ / "out"));
        fs::remove_all(disk_ / "out");
    }

    /// Runs the program on an unusable plug-in.
    void expectRefused(const std::string& plugin, const std::string& reason) {
        const ProgramRun run({"--plugin", plugin, "shell"}, "pwd\n");
        SCOPED_TRACE(plugin);
        EXPECT_EQ(run.status(), 1);
        EXPECT_EQ(run.errors(), "qzstorage: " + plugin + ": " + reason + '\n');
        EXPECT_EQ(run.output(), "");
        ++runs_;
    }

    void printRuns(const char* what) const { std::cout << what << ": " << runs_ << " runs of the program\n"; }

    TemporaryFolder disk_;
    int runs_ = 0;
};

TEST_F(BadPluginTest, RejectsFilesThatAreNotLibraries) {
    const std::string unloadable = "cannot load plug-in: ";
    const std::string fifo = disk_ / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    fs::create_symlink("nowhere", disk_ / "dangling");
    fs::create_symlink("loop", disk_ / "loop");
    expectRefused(disk_ / "missing.so", "No such file or directory");
    expectRefused(disk_ / "dangling", "No such file or directory");
    expectRefused(disk_ / "loop", "Too many levels of symbolic links");
    expectRefused(disk_ / "file/plugin.so", "Not a directory");
    expectRefused(disk_ / std::string(300, 'x'), "File name too long");
    expectRefused(disk_ / "folder", "not a regular file");
    expectRefused(fifo, "not a regular file");
    expectRefused("/dev/null", "not a regular file");
    expectRefused(disk_.write("empty.so", ""), unloadable + "file too short");
    expectRefused(disk_.write("text.so", "just text"), unloadable + "file too short");
    expectRefused(disk_.write("long.so", std::string(10000, 'x')), unloadable + "invalid ELF header");
    expectRefused(noEntryPoint, "not a storage-provider plug-in: no symbol buildProvider_V1");
    printRuns("no library");
}

TEST_F(BadPluginTest, RejectsAnUnreadableFile) {
    const std::string path = disk_ / "locked.so";
    fs::copy_file(TEST_PLUGIN, path);
    fs::permissions(path, fs::perms::none);
    const ProgramRun run({"--plugin", path, "shell"}, "pwd\n", dropFilePrivileges);
    EXPECT_EQ(run.errors(), "qzstorage: " + path + ": Permission denied\n");
    EXPECT_EQ(run.status(), 1);
}

TEST_F(BadPluginTest, RejectsAProgram) {
    const ProgramRun run({"--plugin", TEST_PROGRAM, "shell"}, "pwd\n");
    EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: [^\n]*: cannot load plug-in: [^\n]*\n"));
    EXPECT_EQ(run.status(), 1);
}

TEST_F(BadPluginTest, RejectsALibraryForAnotherMachine) {
    const std::string path = disk_ / "foreign.so";
    const auto withByte = [&](std::size_t place, char value) {
        std::string bytes = readFile(TEST_PLUGIN);
        bytes[place] = value;
        return disk_.write("foreign.so", bytes);
    };
    const std::string unloadable = "cannot load plug-in: ";
    expectRefused(withByte(offsetof(Elf64_Ehdr, e_machine), static_cast<char>(EM_AARCH64)),
                  unloadable + "built for another processor architecture");
    expectRefused(withByte(EI_CLASS, ELFCLASS32), unloadable + "wrong ELF class: ELFCLASS32");
    expectRefused(withByte(EI_DATA, ELFDATA2MSB), unloadable + "ELF file data encoding not little-endian");
    printRuns("another machine");
}

TEST_F(BadPluginTest, RejectsTruncatedLibraries) {
    const std::string whole = readFile(TEST_PLUGIN);
    constexpr std::size_t cuts = 60;
    std::size_t refused = 0;
    for (std::size_t cut = 1; cut < cuts; ++cut) {
        const std::string path = disk_.write("short.so", whole.substr(0, whole.size() * cut / cuts));
        const ProgramRun run({"--plugin", path, "shell"}, "pwd\n");
        if (run.status() == 0) {
            EXPECT_EQ(run.output(), "/\n"); // the loader does not use the missing part
            continue;
        }
        ++refused;
        EXPECT_EQ(run.status(), 1);
        EXPECT_EQ(run.errors(), "qzstorage: " + path + ": cannot load plug-in: the file is truncated\n");
    }
    EXPECT_GT(refused, 0U);
    for (const std::size_t length : {std::size_t{20}, sizeof(Elf64_Ehdr), std::size_t{100}}) {
        const std::string path = disk_.write("short.so", whole.substr(0, length));
        const ProgramRun run({"--plugin", path, "shell"}, "pwd\n");
        EXPECT_EQ(run.status(), 1) << length;
        EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: [^\n]*: cannot load plug-in: [^\n]*\n"));
    }
    std::cout << "truncated: " << refused << " of " << cuts - 1 << " prefixes refused, the others load\n";
}

TEST_F(BadPluginTest, RejectsAnEntryPointThatThrows) {
    for (const Misbehaviour& misbehaviour : thrown) {
        const ProgramRun run = runOn("entry", misbehaviour.name, {"shell"}, "pwd\n");
        SCOPED_TRACE(misbehaviour.name);
        EXPECT_EQ(run.status(), 1);
        EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: [^\n]*/libBadProvider.so: the plug-in returned no "
                                               "provider: " +
                                               misbehaviour.reason + '\n'));
        EXPECT_EQ(run.output(), "");
    }
}

TEST_F(BadPluginTest, RejectsAnEntryPointThatReturnsNull) {
    const ProgramRun run = runOn("entry", "nothing", {"shell"}, "pwd\n");
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(run.errors(), "qzstorage: " + badPlugin + ": the plug-in returned no provider\n");
}

TEST_F(BadPluginTest, ReportsEachExceptionInOneLine) {
    for (std::size_t i = 0; i < uses.size(); ++i) {
        expectOneClearLine(uses[i], thrown[i % thrown.size()], Script::Stops);
        expectOneClearLine(uses[i], thrown[(i + 1) % thrown.size()], Script::GoesOn);
    }
    std::cout << "operations that throw: " << uses.size() << " uses, " << thrown.size() << " exceptions, "
              << runs_ << " runs of the program\n";
}

TEST_F(BadPluginTest, ReportsNullStreamsAndListingsInOneLine) {
    for (const Use& use : uses) {
        const bool isStream = use.operation == "openStream" || use.operation == "openReadOnlyStream";
        if (isStream || use.operation.starts_with("list")) {
            const Misbehaviour none{"nothing", std::string("the plug-in returned no ") +
                                                   (isStream ? "stream" : "listing")};
            expectOneClearLine(use, none, Script::Stops);
            expectOneClearLine(use, none, Script::GoesOn);
        }
    }
    EXPECT_GT(runs_, 0);
    printRuns("no stream, no listing");
}

TEST_F(BadPluginTest, EndsEveryCommandOnAFolderWithoutAName) {
    for (const std::string command : {"tree /bad", "du /bad", "ls -R /bad", "cp -r /bad /g", "rm -r /bad",
                                      "mv /bad /g", "find /bad", "export /bad DISK/out", "find / -name f"}) {
        SCOPED_TRACE(command);
        const ProgramRun run = runOn("listAll", "nameless", {"shell", "--keep-going"},
                                     "mkdir /bad\n" + withDisk(command) + "\npwd\n");
        EXPECT_THAT(run.status(), AnyOf(0, 1));
        EXPECT_THAT(run.errors(), MatchesRegex("(qzstorage: [^\n]*\n)?"));
        EXPECT_THAT(run.output(), EndsWith("/\n"));
        fs::remove_all(disk_ / "out");
    }
}

TEST_F(BadPluginTest, FailsTheSessionIfShutdownThrows) {
    for (const Misbehaviour& misbehaviour : thrown) {
        const ProgramRun run = runOn("shutdown", misbehaviour.name, {"shell"}, "pwd\n");
        SCOPED_TRACE(misbehaviour.name);
        EXPECT_EQ(run.status(), 1);
        EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: (/: )?" + misbehaviour.reason + '\n'));
        EXPECT_EQ(run.output(), "/\n");
    }
}

TEST_F(BadPluginTest, ReportsAFailureToMountInOneLine) {
    for (const Misbehaviour& misbehaviour : thrown) {
        const ProgramRun run =
            runOn("getFilenameSensitivity", misbehaviour.name, {"mount", disk_ / "folder"}, "");
        SCOPED_TRACE(misbehaviour.name);
        EXPECT_EQ(run.status(), 1);
        EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: mount: (/: )?" + misbehaviour.reason + '\n'));
        EXPECT_EQ(run.output(), "");
    }
}

TEST_F(BadPluginTest, ReportsAFailureToValidateInOneLine) {
    for (const Misbehaviour& misbehaviour : thrown) {
        const ProgramRun run = runOn("createFolder", misbehaviour.name, {"validate"}, "");
        SCOPED_TRACE(misbehaviour.name);
        EXPECT_EQ(run.status(), 1);
        EXPECT_THAT(run.errors(),
                    MatchesRegex("qzstorage: [^\n]*/libBadProvider.so: (/qzstorage-validate-[0-9a-f]+: )?" +
                                 misbehaviour.reason + '\n'));
        EXPECT_EQ(run.output(), "");
    }
}

} // namespace

} // namespace storage::tests
