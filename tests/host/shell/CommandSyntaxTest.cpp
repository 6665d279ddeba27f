#include "host/shell/CommandSyntax.h"
#include "host/support/UsageError.h"

#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using host::CommandSyntax;
using host::UsageError;
using host::WordKind;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

class CommandSyntaxTest : public testing::Test {
protected:
    CommandSyntaxTest() {
        syntax_.flag("-l", long_, "long");
        syntax_.flag("-R", recursive_, "recursive");
        syntax_.option("-L", "DEPTH", depth_, "depth");
        syntax_.option("-name", "PATTERN", name_, "name");
        syntax_.operands(0, 4);
    }

    std::string usageError(std::vector<std::string> words) {
        try {
            syntax_.parse(std::move(words));
        } catch (const UsageError& error) {
            return error.what();
        }
        return "no error";
    }

    bool long_ = false;
    bool recursive_ = false;
    std::optional<std::string> depth_;
    std::optional<std::string> name_;
    CommandSyntax syntax_{"ls", "[-l] [PATH...]", "List."};
};

TEST_F(CommandSyntaxTest, MixesOptionsAndOperands) {
    EXPECT_THAT(syntax_.parse({"a", "-l", "b", "-L", "3"}), Optional(ElementsAre("a", "b")));
    EXPECT_TRUE(long_);
    EXPECT_FALSE(recursive_);
    EXPECT_EQ(depth_, "3");
}

TEST_F(CommandSyntaxTest, AcceptsCombinedLettersAndAttachedValues) {
    EXPECT_THAT(syntax_.parse({"-lR", "-L2"}), Optional(IsEmpty()));
    EXPECT_TRUE(long_ && recursive_);
    EXPECT_EQ(depth_, "2");
}

TEST_F(CommandSyntaxTest, AcceptsLongOptionsWithOneDash) {
    EXPECT_THAT(syntax_.parse({".", "-name", "*.h"}), Optional(ElementsAre(".")));
    EXPECT_EQ(name_, "*.h");
}

TEST_F(CommandSyntaxTest, RefusesTwoValues) {
    EXPECT_EQ(usageError({"-L", "1", "-L", "2"}), "-L is given more than once");
    EXPECT_EQ(usageError({"-name", "a", "b", "-name", "a"}), "-name is given more than once");
}

TEST_F(CommandSyntaxTest, KeepsUnusualOperandsUnchanged) {
    EXPECT_THAT(syntax_.parse({"[a,b]", "++", "{}", "%%"}), Optional(ElementsAre("[a,b]", "++", "{}", "%%")));
}

TEST_F(CommandSyntaxTest, KeepsUnusualValuesUnchanged) {
    syntax_.parse({"-name", "[a,b]", "-L", "++"});
    EXPECT_EQ(name_, "[a,b]");
    EXPECT_EQ(depth_, "++");
}

TEST_F(CommandSyntaxTest, AcceptsAValueThatLooksLikeAnOption) {
    syntax_.parse({"-name", "-name", "-L", "-l"});
    EXPECT_EQ(name_, "-name");
    EXPECT_EQ(depth_, "-l");
    EXPECT_FALSE(long_);
}

TEST_F(CommandSyntaxTest, TreatsAllWordsAfterTwoDashesAsOperands) {
    EXPECT_THAT(syntax_.parse({"--", "-l", "--", "-name"}), Optional(ElementsAre("-l", "--", "-name")));
    EXPECT_FALSE(long_);
}

TEST_F(CommandSyntaxTest, KeepsEmptyAndSingleDashOperands) {
    EXPECT_THAT(syntax_.parse({"", "-"}), Optional(ElementsAre("", "-")));
}

TEST_F(CommandSyntaxTest, RefusesUnknownOptions) {
    EXPECT_EQ(usageError({"-z"}), "unknown option '-z'");
    EXPECT_EQ(usageError({"-lz"}), "unknown option '-z'");
    EXPECT_EQ(usageError({"--zzz=3"}), "unknown option '--zzz=3'");
}

TEST_F(CommandSyntaxTest, RefusesTooFewAndTooManyOperands) {
    syntax_.operands(2, 2);
    EXPECT_EQ(usageError({"a"}), "missing operand, usage: ls [-l] [PATH...]");
    EXPECT_EQ(usageError({"a", "b", "c"}), "extra operand 'c'");
}

TEST_F(CommandSyntaxTest, RefusesAnOptionWithoutItsValue) {
    EXPECT_EQ(usageError({"-L"}), "-L requires a value, DEPTH");
    EXPECT_EQ(usageError({"-lL"}), "-L requires a value, DEPTH");
    EXPECT_EQ(usageError({"a", "-name"}), "-name requires a value, PATTERN");
}

TEST_F(CommandSyntaxTest, AcceptsAnEmptyValueAfterAnEqualsSign) {
    std::vector<std::string> values;
    syntax_.operands(0, CommandSyntax::any);
    syntax_.repeatedOption("--value", "TEXT", values, "");
    EXPECT_EQ(syntax_.parse({"--value=", "--value", "--value=", "a", "--", "--value="}),
              (std::vector<std::string>{"a", "--value="}));
    EXPECT_EQ(values, (std::vector<std::string>{"", "--value="}));
}

using Kinds = std::vector<WordKind>;

TEST_F(CommandSyntaxTest, DistinguishesOptionsAndTheirValuesFromOperands) {
    using enum WordKind;
    EXPECT_EQ(syntax_.kinds({"a", "-l", "b", "-L", "3", "c"}),
              (Kinds{Storage, Text, Storage, Text, Text, Storage}));
    EXPECT_EQ(syntax_.kinds({"-lRL", "3", "-L3", "a"}), (Kinds{Text, Text, Text, Storage}));
    EXPECT_EQ(syntax_.kinds({"-name", "*.h", "-", "--", "-l"}), (Kinds{Text, Text, Storage, Text, Storage}));
}

TEST_F(CommandSyntaxTest, AllowsAnotherKindForTheFirstAndTheLastOperand) {
    using enum WordKind;
    syntax_.operands(2, CommandSyntax::any, Disk);
    syntax_.lastOperand(Storage);
    EXPECT_EQ(syntax_.kinds({"a", "b", "-l", "c"}), (Kinds{Disk, Disk, Text, Storage}));
    EXPECT_EQ(syntax_.kinds({"a"}), (Kinds{Disk})) << "the last one is still to come";
    syntax_.operands(0, 2, Storage);
    syntax_.firstOperand(Text);
    EXPECT_EQ(syntax_.kinds({"a"}), (Kinds{Text}));
    EXPECT_EQ(syntax_.kinds({"a", "b"}), (Kinds{Text, Storage}));
}

TEST_F(CommandSyntaxTest, RecognizesTheHelpOption) {
    EXPECT_EQ(syntax_.parse({"a", "--help"}), std::nullopt);
    EXPECT_EQ(syntax_.help(), "usage: ls [-l] [PATH...]\nList.\n"
                              "  -l              long\n  -R              recursive\n"
                              "  -L DEPTH        depth\n  -name PATTERN   name\n");
}

} // namespace

} // namespace storage::tests
