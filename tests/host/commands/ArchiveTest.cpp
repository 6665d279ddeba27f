#include "host/support/Umask.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/SessionTest.h"
#include "tests/support/TreeContents.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using provider::StorageIRI;
using testing::EndsWith;
using testing::HasSubstr;

/// One entry of a tar file, as it is in the file.
std::string tarEntry(const std::string& name, char type, const std::string& content = "",
                     const std::string& link = "") {
    constexpr std::size_t block = 512;
    std::array<char, block> header{};
    const auto put = [&](std::size_t offset, const std::string& text) {
        std::copy(text.begin(), text.end(), header.begin() + static_cast<std::ptrdiff_t>(offset));
    };
    std::array<char, 12> number{};
    put(0, name);
    put(100, type == '5' ? "0000755" : "0000644");
    put(108, "0000000");
    put(116, "0000000");
    std::snprintf(number.data(), number.size(), "%011zo", content.size());
    put(124, number.data());
    put(136, "14524770400");
    put(148, "        ");
    header[156] = type;
    put(157, link);
    put(257, std::string("ustar\00000", 8));
    unsigned sum = 0;
    for (const char byte : header) {
        sum += static_cast<unsigned char>(byte);
    }
    std::snprintf(number.data(), number.size(), "%06o", sum);
    put(148, std::string(number.data(), 7));
    std::string entry(header.begin(), header.end());
    entry += content;
    entry.resize((entry.size() + block - 1) / block * block);
    return entry;
}

std::string tarFile(const std::string& entries) {
    return entries + std::string(1024, '\0');
}

bool hasProgram(const std::string& name) {
    return std::system(("command -v " + name + " >/dev/null").c_str()) == 0; // NOLINT(concurrency-mt-unsafe)
}

int shell(const std::string& command) {
    return std::system(command.c_str()); // NOLINT(concurrency-mt-unsafe)
}

/// A tree with one entry of each kind that archives keep.
class ArchiveTest : public SessionTest {
protected:
    ArchiveTest() {
        disk_.write("src/a", "content of a\n");
        disk_.write("src/folder/large", std::string(700000, 'x') + "end");
        disk_.write("src/folder/\xC3\xA4 name", "umlaut");
        disk_.write("src/empty file", "");
        disk_.makeFolder("src/empty");
        fs::create_symlink("folder/large", disk_ / "src/link");
        fs::permissions(disk_ / "src/a", fs::perms(0640));
        fs::permissions(disk_ / "src/folder", fs::perms(0750));
        setTime("src/a", 1700000000, 123456789);
        setTime("src/folder", 1600000000, 0);
        source_ = disk_ / "src";
    }

    void setTime(const std::string& name, time_t seconds, long nanoseconds) {
        const timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
        ASSERT_EQ(::utimensat(AT_FDCWD, (disk_ / name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }

    struct stat status(const std::string& name) {
        struct stat result {};
        EXPECT_EQ(::lstat((disk_ / name).c_str(), &result), 0) << name;
        return result;
    }

    std::string failOnce(const std::string& line) {
        EXPECT_EQ(run(line), ExitStatus::Failure) << line;
        const std::string text = errors();
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
        return text;
    }

    std::string source_;
};

class ArchiveFormatTest : public ArchiveTest, public testing::WithParamInterface<const char*> {};

TEST_P(ArchiveFormatTest, RoundTripsATree) {
    succeed("import -q " + source_ + " /src");
    const std::string file = disk_ / "out." + GetParam();
    EXPECT_EQ(succeed("export /src " + file), "exported 3 folders, 4 files, 700022 bytes, 1 symbolic link\n");
    EXPECT_EQ(status("out." + std::string(GetParam())).st_mode & 0777U, 0666U & ~host::currentUmask());
    EXPECT_EQ(run("import " + file + " /again"), ExitStatus::Success);
    EXPECT_EQ(output(), "imported 4 folders, 4 files, 700022 bytes, 1 symbolic link\n");
    succeed("export /again/src " + disk_ / "back");
    EXPECT_EQ(contentsOf(disk_ / "back"), contentsOf(source_));
    EXPECT_EQ(fs::read_symlink(disk_ / "back/link"), "folder/large");
    for (const std::string name : {"a", "folder"}) {
        EXPECT_EQ(status("back/" + name).st_mode, status("src/" + name).st_mode);
        EXPECT_EQ(status("back/" + name).st_mtim.tv_sec, status("src/" + name).st_mtim.tv_sec);
    }
    EXPECT_EQ(namesIn(disk_.path()), "back out." + std::string(GetParam()) + " src");
}

INSTANTIATE_TEST_SUITE_P(Endings, ArchiveFormatTest,
                         testing::Values("tar", "tar.gz", "tgz", "tar.bz2", "tar.xz", "tar.zst", "tar.lz4",
                                         "tar.lzma", "tar.lz", "tar.Z", "zip", "cpio", "cpio.gz"),
                         [](const auto& ending) {
                             std::string name = ending.param;
                             std::erase(name, '.');
                             return name;
                         });

TEST_F(ArchiveTest, KeepsNanosecondsAttributesAndHardLinksInTar) {
    fs::create_hard_link(disk_ / "src/a", disk_ / "src/folder/second");
    const bool hasXattrs = ::setxattr((disk_ / "src/a").c_str(), "user.note", "text", 4, 0) == 0;
    setTime("src/a", 1700000000, 123456789);
    succeed("import -q " + source_ + " /src");
    succeed("export /src " + disk_ / "out.tar");
    succeed("import -q " + disk_ / "out.tar" + " /again");
    succeed("export /again/src " + disk_ / "back");
    EXPECT_EQ(status("back/a").st_mtim.tv_nsec, 123456789);
    EXPECT_EQ(status("back/a").st_ino, status("back/folder/second").st_ino);
    EXPECT_EQ(readFile(disk_ / "back/folder/second"), "content of a\n");
    std::array<char, 8> value{};
    EXPECT_EQ(::getxattr((disk_ / "back/a").c_str(), "user.note", value.data(), value.size()),
              hasXattrs ? 4 : -1);
}

TEST_F(ArchiveTest, CountsWhatAFormatCannotStore) {
    if (::setxattr((disk_ / "src/a").c_str(), "user.note", "text", 4, 0) != 0) {
        GTEST_SKIP() << "no extended attributes here: " << std::strerror(errno);
    }
    ASSERT_EQ(::mkfifo((disk_ / "src/pipe").c_str(), 0600), 0);
    succeed("import -q " + source_ + " /src");
    EXPECT_EQ(run("export /src " + disk_ / "out.zip"), ExitStatus::Success);
    EXPECT_EQ(errors(), "qzstorage: export: /src/pipe: skipped, a fifo\nqzstorage: export: " +
                            disk_ / "out.zip" + ": the archive format cannot store 1 extended attribute\n");
}

TEST_F(ArchiveTest, KeepsTheBytesOfNames) {
    const std::string odd = "not \xFF utf-8";
    disk_.write("odd/" + odd, "odd");
    succeed("import -q " + disk_ / "odd" + " /odd");
    for (const std::string ending : {"tar", "cpio"}) {
        succeed("export /odd " + disk_ / "odd." + ending);
        succeed("import -q " + disk_ / "odd." + ending + " /" + ending);
        succeed("export /" + ending + "/odd " + disk_ / "back-" + ending);
        EXPECT_EQ(namesIn(disk_ / "back-" + ending), odd);
    }
    EXPECT_THAT(fail("export /odd " + disk_ / "odd.zip"),
                HasSubstr("utf-8: the name is not UTF-8, which zip files require"));
    EXPECT_FALSE(fs::exists(disk_ / "odd.zip"));
}

/// The composed and the decomposed form of a letter are two names.
TEST_F(ArchiveTest, KeepsNamesThatDifferOnlyInUnicodeNormalization) {
    const std::string composed = "\xC3\xA9";
    const std::string decomposed = "e\xCC\x81";
    for (const auto& name : {composed, decomposed}) {
        disk_.write("forms/" + name, name);
    }
    fs::create_symlink(decomposed, disk_ / "forms/link");
    succeed("import -q " + disk_ / "forms" + " /forms");
    for (const std::string ending : {"tar", "zip", "cpio"}) {
        succeed("export /forms " + disk_ / "forms." + ending);
        succeed("import -q " + disk_ / "forms." + ending + " /" + ending);
        const std::string back = disk_ / "back-" + ending;
        succeed("export /" + ending + "/forms " + back);
        EXPECT_EQ(contentsOf(back), contentsOf(disk_ / "forms"));
        EXPECT_EQ(fs::read_symlink(back + "/link"), decomposed) << ending;
    }
}

TEST_F(ArchiveTest, MergesTheContentIntoAnExistingFolder) {
    disk_.write("x.tar",
                tarFile(tarEntry("./", '5') + tarEntry("./a", '0', "new") + tarEntry("d/e/f", '0', "f")));
    succeed("mkdir /p");
    succeed("write /p/kept k");
    succeed("write /p/a old");
    EXPECT_EQ(succeed("import " + disk_ / "x.tar" + " /p"), "imported 3 folders, 2 files, 4 bytes\n");
    EXPECT_EQ(succeed("find /p -type f"), "/p/a\n/p/d/e/f\n/p/kept\n");
    EXPECT_EQ(succeed("cat /p/a"), "new");
    EXPECT_EQ(succeed("import " + disk_ / "x.tar" + " " + disk_ / "x.tar" + " /p"),
              "imported 6 folders, 4 files, 8 bytes\n");
}

TEST_F(ArchiveTest, SetsTheTimesOfFoldersInAnyOrder) {
    disk_.write("x.tar", tarFile(tarEntry("d/f", '0', "f") + tarEntry("e/g", '0', "g") + tarEntry("d/", '5') +
                                 tarEntry("d/h", '0', "h") + tarEntry("e/", '5')));
    EXPECT_EQ(succeed("import " + disk_ / "x.tar" + " /p"), "imported 3 folders, 3 files, 3 bytes\n");
    EXPECT_THAT(succeed("stat /p/d /p/e"), HasSubstr("2023-11-14"));
    EXPECT_EQ(succeed("find /p"), "/p\n/p/d\n/p/d/f\n/p/d/h\n/p/e\n/p/e/g\n");
}

TEST_F(ArchiveTest, RefusesPathsOutsideTheTarget) {
    disk_.write("evil.tar",
                tarFile(tarEntry("../out", '0', "x") + tarEntry("/abs", '0', "x") +
                        tarEntry("a/../../out", '0', "x") + tarEntry("link", '2', "", "/etc") +
                        tarEntry("link/passwd", '0', "x") + tarEntry("./link/deep/x", '5') +
                        tarEntry("hard", '1', "", "../../etc/passwd") + tarEntry("second", '1', "", "link") +
                        tarEntry("second/x", '0', "x") + tarEntry("good", '0', "good")));
    const std::string place = "qzstorage: import: " + disk_ / "evil.tar: ";
    EXPECT_EQ(run("import -q " + disk_ / "evil.tar" + " /p"), ExitStatus::Failure);
    EXPECT_EQ(errors(),
              place + "../out: refused, its path leads out of the archive\n" + place +
                  "/abs: refused, its path is absolute\n" + place +
                  "a/../../out: refused, its path leads out of the archive\n" + place +
                  "link/passwd: refused, its path is below a symbolic link of the archive, link\n" + place +
                  "./link/deep/x: refused, its path is below a symbolic link of the archive, link\n" + place +
                  "hard: refused, its link target leads out of the archive\n" + place +
                  "second/x: refused, its path is below a symbolic link of the archive, second\n");
    EXPECT_EQ(succeed("find /"), "/\n/p\n/p/good\n");
}

TEST_F(ArchiveTest, ReportsATruncatedArchiveOnceAndImportsNoPartialFile) {
    const std::string whole =
        tarEntry("d/", '5') + tarEntry("d/a", '0', "a") + tarEntry("d/b", '0', std::string(5000, 'b'));
    for (const std::size_t size : {std::size_t{700}, std::size_t{2100}, whole.size() - 600}) {
        disk_.write("cut.tar", whole.substr(0, size));
        EXPECT_THAT(failOnce("import -q " + disk_ / "cut.tar" + " /p"),
                    HasSubstr(disk_ / "cut.tar" + ": cannot be read as an archive: "));
        EXPECT_FALSE(provider_->doFileExists(StorageIRI(u"/p/d/b"))) << size;
    }
    EXPECT_EQ(succeed("cat /p/d/a"), "a");
    EXPECT_THAT(succeed("stat /p/d"), HasSubstr("2023-11-14")); // the entries before the damage are complete
}

TEST_F(ArchiveTest, ReportsADamagedArchiveOnce) {
    succeed("import -q " + source_ + " /src");
    for (const std::string ending : {"tar.gz", "tar.zst", "tar.xz", "tar.bz2"}) {
        const std::string file = disk_ / "out." + ending;
        succeed("export /src " + file);
        std::string bytes = readFile(file);
        bytes.resize(bytes.size() / 2);
        disk_.write("out." + ending, bytes);
        EXPECT_THAT(failOnce("import -q " + file + " /p"), HasSubstr(file + ": ")) << ending;
    }
    EXPECT_THAT(failOnce("import " + disk_.write("text.tar", "no archive") + " /p"),
                HasSubstr(disk_ / "text.tar" + ": cannot be read as an archive: "));
    EXPECT_THAT(failOnce("import " + disk_.write("zero.zip", "") + " /p"), HasSubstr("zero.zip: "));
}

TEST_F(ArchiveTest, CreatesNoIncompleteArchive) {
    succeed("import -q " + source_ + " /src");
    disk_.write("out.tar", "old");
    provider_->beforeRead = [] { throw std::runtime_error("unreadable"); };
    EXPECT_EQ(run("export /src " + disk_ / "out.tar"), ExitStatus::Failure);
    EXPECT_THAT(errors(), EndsWith("qzstorage: export: " + disk_ / "out.tar" +
                                   ": not created, because it would be incomplete\n"));
    EXPECT_EQ(readFile(disk_ / "out.tar"), "old");
    EXPECT_EQ(namesIn(disk_.path()), "out.tar src");
    provider_->beforeRead = [] { std::raise(SIGINT); };
    EXPECT_EQ(run("export /src " + disk_ / "out.tar"), ExitStatus::Interrupted);
    EXPECT_EQ(readFile(disk_ / "out.tar"), "old");
    EXPECT_EQ(namesIn(disk_.path()), "out.tar src");
}

TEST_F(ArchiveTest, KeepsThePermissionsOfAReplacedArchiveAndReplacesNothingElse) {
    succeed("write /f text");
    disk_.write("out.tar", "old");
    fs::permissions(disk_ / "out.tar", fs::perms(0600));
    succeed("export /f " + disk_ / "out.tar");
    EXPECT_EQ(status("out.tar").st_mode & 0777U, 0600U);
    fs::create_symlink("out.tar", disk_ / "link.tar");
    EXPECT_THAT(failOnce("export /f " + disk_ / "link.tar"), HasSubstr("a symbolic link is in the way"));
    EXPECT_THAT(failOnce("export /f " + disk_ / "missing/out.tar"), HasSubstr("No such file or directory"));
    disk_.makeFolder("folder.tar");
    succeed("export /f " + disk_ / "folder.tar");
    EXPECT_EQ(namesIn(disk_ / "folder.tar"), "f");
}

TEST_F(ArchiveTest, TransfersArchivesAsFilesWithPutAndGet) {
    disk_.write("x.zip", "any bytes");
    succeed("put " + disk_ / "x.zip" + " /");
    EXPECT_EQ(succeed("cat /x.zip"), "any bytes");
    succeed("get /x.zip " + disk_ / "y.zip");
    EXPECT_EQ(readFile(disk_ / "y.zip"), "any bytes");
}

TEST_F(ArchiveTest, ExportsSeveralSourcesAndTheRootToOneArchive) {
    succeed("import -q " + source_ + " /src");
    succeed("write /other other");
    EXPECT_EQ(succeed("export /src/a /other " + disk_ / "two.tar"),
              "exported 0 folders, 2 files, 19 bytes\n");
    EXPECT_EQ(succeed("export / " + disk_ / "root.tar"),
              "exported 4 folders, 5 files, 700028 bytes, 1 symbolic link\n");
    succeed("import -q " + disk_ / "two.tar" + " /two");
    EXPECT_EQ(succeed("find /two"), "/two\n/two/a\n/two/other\n");
    succeed("import -q " + disk_ / "root.tar" + " /whole");
    EXPECT_EQ(succeed("find /whole -type d"), "/whole\n/whole/src\n/whole/src/empty\n/whole/src/folder\n");
    EXPECT_THAT(fail("export /src/a /two/a " + disk_ / "x.tar"),
                HasSubstr("another source has the same name"));
    EXPECT_FALSE(fs::exists(disk_ / "x.tar"));
}

TEST_F(ArchiveTest, AppliesPatternsUpdateAndDryRunToArchives) {
    succeed("import -q " + source_ + " /src");
    EXPECT_EQ(succeed("export --dry-run --include 'l*' /src " + disk_ / "out.tar"),
              "'/src' -> '" + disk_ / "out.tar" + ": src'\n'/src/folder' -> '" + disk_ / "out.tar" +
                  ": src/folder'\n'/src/folder/large' -> '" + disk_ / "out.tar" +
                  ": src/folder/large'\n'/src/link' -> '" + disk_ / "out.tar" +
                  ": src/link'\nwould export 2 folders, 1 file, 700003 bytes, 1 symbolic link\n");
    EXPECT_FALSE(fs::exists(disk_ / "out.tar"));
    succeed("export --exclude folder /src " + disk_ / "out.tar");
    EXPECT_EQ(succeed("import --include /src/a " + disk_ / "out.tar" + " /p"),
              "imported 2 folders, 1 file, 13 bytes\n");
    EXPECT_EQ(succeed("import --update --exclude link " + disk_ / "out.tar" + " /p"),
              "imported 3 folders, 1 file, 0 bytes, 1 unchanged\n");
    EXPECT_EQ(succeed("import --dry-run --exclude link " + disk_ / "out.tar" + " /p"),
              "'" + disk_ / "out.tar: src/a" + "' -> '/p/src/a'\n'" + disk_ / "out.tar: src/empty file" +
                  "' -> '/p/src/empty file'\nwould import 3 folders, 2 files, 13 bytes\n");
}

TEST_F(ArchiveTest, ReportsAFileInTheWayOfAFolderOnce) {
    disk_.write("x.tar", tarFile(tarEntry("d/", '5') + tarEntry("d/a", '0', "a") +
                                 tarEntry("d/e/b", '0', "b") + tarEntry("z", '0', "z")));
    succeed("mkdir /p");
    succeed("write /p/d text");
    failOnce("import -q " + disk_ / "x.tar" + " /p");
    EXPECT_EQ(succeed("find /p"), "/p\n/p/d\n/p/z\n");
}

TEST_F(ArchiveTest, ReadsAndWritesStandardStreams) {
    const ProgramRun packed({"-c", "import -q " + source_ + " /src", "-c", "export -q /src -"});
    ASSERT_EQ(packed.status(), 0) << packed.errors();
    EXPECT_EQ(packed.errors(), "");
    const ProgramRun unpacked({"-c", "import -q - /p", "-c", "export -q /p/src " + disk_ / "back"},
                              packed.output());
    ASSERT_EQ(unpacked.status(), 0) << unpacked.errors();
    EXPECT_EQ(contentsOf(disk_ / "back"), contentsOf(source_));
    succeed("import -q " + source_ + " /src");
    succeed("export /src " + disk_ / "out.zip");
    const ProgramRun zip({"-c", "import - /p"}, readFile(disk_ / "out.zip"));
    EXPECT_EQ(zip.output(), "imported 4 folders, 4 files, 700022 bytes, 1 symbolic link\n");
    EXPECT_THAT(fail("import - /p"), HasSubstr("-: the standard input provides the command lines"));
}

TEST_F(ArchiveTest, ExportsForOtherPrograms) {
    succeed("import -q " + source_ + " /src");
    struct Reader {
        std::string program;
        std::string ending;
        std::string command;
    };
    std::string missing;
    for (const Reader& reader :
         {Reader{"tar", "tar", "tar xf ../x.tar"}, Reader{"tar", "tar.gz", "tar xf ../x.tar.gz"},
          Reader{"bsdtar", "tar.xz", "bsdtar xf ../x.tar.xz"}, Reader{"unzip", "zip", "unzip -q ../x.zip"},
          Reader{"cpio", "cpio", "cpio -idm --quiet < ../x.cpio"}}) {
        if (!hasProgram(reader.program)) {
            missing += ' ' + reader.program;
            continue;
        }
        succeed("export /src " + disk_ / "x." + reader.ending);
        const std::string back = disk_.makeFolder("back " + reader.program + reader.ending);
        ASSERT_EQ(shell("cd '" + back + "' && " + reader.command), 0) << reader.command;
        EXPECT_EQ(contentsOf(back + "/src"), contentsOf(source_)) << reader.command;
        EXPECT_EQ(fs::read_symlink(back + "/src/link"), "folder/large") << reader.command;
        succeed("check /src '" + back + "/src'");
    }
    if (!missing.empty()) {
        GTEST_SKIP() << "missing:" << missing;
    }
}

TEST_F(ArchiveTest, ImportsFromOtherPrograms) {
    fs::create_hard_link(disk_ / "src/a", disk_ / "src/folder/second");
    struct Writer {
        std::string program;
        std::string file;
        std::string command;
    };
    std::string missing;
    int number = 0;
    for (const Writer& writer : {Writer{"tar", "x.tar", "tar cf x.tar src"},
                                 Writer{"tar", "posix.tgz", "tar czf posix.tgz --format=posix src"},
                                 Writer{"bsdtar", "b.tar.zst", "bsdtar -acf b.tar.zst src"},
                                 Writer{"zip", "x.zip", "zip -qry x.zip src"},
                                 Writer{"cpio", "x.cpio", "find src | cpio -o -H newc --quiet > x.cpio"}}) {
        if (!hasProgram(writer.program)) {
            missing += ' ' + writer.program;
            continue;
        }
        ASSERT_EQ(shell("cd '" + disk_.path() + "' && " + writer.command), 0) << writer.command;
        const std::string name = std::to_string(++number);
        succeed("import -q " + disk_ / writer.file + " /" + name);
        succeed("export -q /" + name + "/src " + disk_ / name);
        EXPECT_EQ(contentsOf(disk_ / name), contentsOf(source_)) << writer.command;
        EXPECT_EQ(fs::read_symlink(disk_ / name + "/link"), "folder/large") << writer.command;
        if (writer.program != "zip") {
            EXPECT_EQ(status(name + "/a").st_ino, status(name + "/folder/second").st_ino) << writer.command;
        }
        EXPECT_EQ(status(name + "/folder").st_mode, status("src/folder").st_mode) << writer.command;
    }
    if (!missing.empty()) {
        GTEST_SKIP() << "missing:" << missing;
    }
}

} // namespace

} // namespace storage::tests
