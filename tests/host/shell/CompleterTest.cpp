#include "host/shell/Completer.h"
#include "host/commands/CommandTable.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/SessionTest.h"

#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using host::Completer;
using testing::ElementsAre;
using testing::IsEmpty;

class CompleterTest : public SessionTest {
protected:
    CompleterTest() {
        for (const char* const line :
             {"mkdir -p /src/lib '/my folder/deep'", "touch /src/main.cpp /src/main.h '/my folder/it'\\''s'",
              "mkdir /chars", "touch /chars/ä1 /chars/ö", "cd /src"}) {
            succeed(line);
        }
    }

    Completer::Completion complete(const std::string& line) const {
        return Completer(host::commandTable(), session_).complete(line);
    }

    /// Returns the line after completion.
    std::string completed(const std::string& line) const { return line + complete(line).insertion; }

    std::vector<std::string> candidates(const std::string& line) const { return complete(line).candidates; }
};

TEST_F(CompleterTest, CompletesCommands) {
    EXPECT_EQ(completed("mkd"), "mkdir ");
    EXPECT_EQ(completed("sha"), "sha256sum ");
    EXPECT_EQ(completed("t"), "t");
    EXPECT_THAT(candidates("t"), ElementsAre("tail", "touch", "tree", "truncate"));
    EXPECT_EQ(completed("tr"), "tr");
    EXPECT_EQ(candidates("").size(), host::commandTable().size());
    EXPECT_EQ(completed("help mkd"), "help mkdir ");
    EXPECT_THAT(candidates("frob"), IsEmpty());
}

TEST_F(CompleterTest, CompletesPathsOfTheStorage) {
    EXPECT_EQ(completed("ls /sr"), "ls /src/");
    EXPECT_EQ(completed("ls -l l"), "ls -l lib/");
    EXPECT_EQ(completed("cat m"), "cat main.");
    EXPECT_THAT(candidates("cat main."), ElementsAre("main.cpp", "main.h"));
    EXPECT_EQ(completed("cat main.h"), "cat main.h ");
    EXPECT_EQ(completed("cat ../src/main.c"), "cat ../src/main.cpp ");
    EXPECT_THAT(candidates("ls /src/"), ElementsAre("lib/", "main.cpp", "main.h"));
    EXPECT_THAT(candidates("ls "), ElementsAre("lib/", "main.cpp", "main.h"));
    EXPECT_THAT(candidates("ls /nowhere/x"), IsEmpty());
    EXPECT_THAT(candidates("frob /sr"), IsEmpty());
}

TEST_F(CompleterTest, QuotesAddedText) {
    EXPECT_EQ(completed("ls /my"), "ls /my\\ folder/");
    EXPECT_EQ(completed("ls /my\\ fo"), "ls /my\\ folder/");
    EXPECT_EQ(completed("ls '/my"), "ls '/my folder/");
    EXPECT_EQ(completed("ls \"/my fo"), "ls \"/my folder/");
    EXPECT_EQ(completed("cat '/my folder/i"), R"(cat '/my folder/it'\''s' )");
    EXPECT_EQ(completed("cat \"/my folder/i"), "cat \"/my folder/it's\" ");
    EXPECT_EQ(completed("cat /my' 'folder/i"), "cat /my' 'folder/it\\'s ");
    succeed("touch /src/'$x' /src/'#*|'");
    EXPECT_EQ(completed("cat \""), "cat \"");
    EXPECT_EQ(completed("cat \"\\$"), "cat \"\\$x\" ");
    EXPECT_EQ(completed("cat \\#"), R"(cat \#\*\| )");
}

TEST_F(CompleterTest, QuotesCompletionsSoThatTheyAreParsedAsTheName) {
    const std::string odd = " '\"\\#*?|<>&;$`x";
    succeed("mkdir /odd");
    provider_->doCreateFile(provider::StorageIRI(u"/odd/a '\"\\#*?|<>&;$`x"));
    for (const std::string begin : {"stat /odd/", "stat '/odd/", "stat \"/odd/"}) {
        EXPECT_THAT(succeed(completed(begin)), testing::HasSubstr("path: /odd/a" + odd + "\n")) << begin;
    }
}

TEST_F(CompleterTest, AddsWholeCharacters) {
    EXPECT_EQ(completed("ls /chars/"), "ls /chars/") << "two names begin with the same byte";
    EXPECT_EQ(completed("ls /chars/ä"), "ls /chars/ä1 ");
    EXPECT_THAT(candidates("ls /chars/\xC3"), IsEmpty());
}

TEST_F(CompleterTest, CompletesOperandsOfTheCommand) {
    disk_.write("disk file", "");
    disk_.makeFolder("disk folder");
    const std::string begin = disk_ / "disk\\ fi";
    EXPECT_EQ(completed("import " + begin), "import " + disk_ / "disk\\ file ");
    EXPECT_EQ(completed("import -x " + begin), "import -x " + disk_ / "disk\\ file ");
    EXPECT_EQ(completed("import x /sr"), "import x /src/");
    EXPECT_EQ(completed("export /sr"), "export /src/");
    EXPECT_EQ(completed("export / " + begin), "export / " + disk_ / "disk\\ file ");
    EXPECT_EQ(completed("check /sr"), "check /src/");
    EXPECT_EQ(completed("check / " + begin), "check / " + disk_ / "disk\\ file ");
    EXPECT_EQ(completed("lcd '" + disk_ / "disk fo"), "lcd '" + disk_ / "disk folder/");
    EXPECT_EQ(completed("chmod -w l"), "chmod -w lib/");
    EXPECT_EQ(completed("write l"), "write lib/");
    EXPECT_EQ(completed("write main.h l"), "write main.h l") << "text";
    EXPECT_EQ(completed("find -name l"), "find -name l") << "a pattern";
    EXPECT_EQ(completed("grep l"), "grep l") << "a pattern";
    EXPECT_EQ(completed("grep x l"), "grep x lib/");
    EXPECT_EQ(completed("rm -- l"), "rm -- lib/");
}

TEST_F(CompleterTest, IgnoresLinesThatItCannotParse) {
    for (const char* const line : {"ls # l", "ls l\\", "ls | l", "ls /a > l"}) {
        EXPECT_EQ(completed(line), line);
        EXPECT_THAT(candidates(line), IsEmpty()) << line;
    }
}

TEST_F(CompleterTest, SkipsNamesThatCannotBeTyped) {
    using provider::StorageIRI;
    provider_->doCreateFile(StorageIRI(u"/src/lib/x\n"));
    provider_->doCreateFile(StorageIRI(u"/src/lib/\xD800"));
    provider_->doCreateFile(StorageIRI(u"/src/lib/y"));
    disk_.write("\xFF", "");
    EXPECT_THAT(candidates("ls lib/"), ElementsAre("y"));
    EXPECT_THAT(candidates("lls " + disk_.path() + "/"), IsEmpty());
}

class CompleterStoragesTest : public SessionTest {
protected:
    CompleterStoragesTest() : SessionTest({"mem", "disk"}) {
        for (const char* const line : {"mkdir /music disk:/movies", "touch disk:/movies/one ./d:x"}) {
            succeed(line);
        }
    }

    Completer::Completion complete(const std::string& line) const {
        return Completer(host::commandTable(), session_).complete(line);
    }
    std::string completed(const std::string& line) const { return line + complete(line).insertion; }
};

TEST_F(CompleterStoragesTest, CompletesThePrefixesOfStorages) {
    EXPECT_EQ(completed("ls di"), "ls disk:/");
    EXPECT_EQ(completed("cp -r disk:/mov"), "cp -r disk:/movies/");
    EXPECT_EQ(completed("cat disk:/movies/o"), "cat disk:/movies/one ");
    EXPECT_EQ(completed("ls disk:mo"), "ls disk:movies/");
    EXPECT_THAT(complete("ls m").candidates, ElementsAre("mem:/", "music/"));
    EXPECT_THAT(complete("ls ").candidates, ElementsAre("disk:/", "mem:/", "music/"));
    EXPECT_THAT(complete("ls d").candidates, ElementsAre("disk:/")) << "d:x would be another storage";
    EXPECT_EQ(completed("ls ./d"), "ls ./d:x ");
    EXPECT_EQ(completed("lls di"), "lls di") << "no path of a storage";
}

} // namespace

} // namespace storage::tests
