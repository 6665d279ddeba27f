#pragma once

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class ArgumentMismatch;
class Option;
} // namespace CLI

namespace storage::host {

/// What a word of a command line is, which decides where its pattern is expanded and how it is completed.
enum class WordKind {
    Storage, ///< a path of the storage
    Disk,    ///< a path of the disk
    Command, ///< the name of a command
    Text,    ///< an option, its value, or text of another kind
};

/// The options and operands of one command, to parse one command line with.
///
/// Thread safety: one object is for one thread.
class CommandSyntax {
public:
    static constexpr std::size_t any = std::numeric_limits<std::size_t>::max();

    /// @param name      the command
    /// @param synopsis  its options and operands in a line, for people
    /// @param summary   what it does, in a sentence
    CommandSyntax(std::string_view name, std::string_view synopsis, std::string_view summary);
    CommandSyntax(const CommandSyntax&) = delete;
    CommandSyntax& operator=(const CommandSyntax&) = delete;
    ~CommandSyntax();

    /// An option without a value.
    /// @param name    "-l"
    /// @param target  becomes true when the option is given; must live until the line is parsed
    void flag(const std::string& name, bool& target, const std::string& description);

    /// An option with a value, which may be given once.
    /// @param name    "-L", a whole word such as "-name", or "--name", which takes its value behind "=" as well
    /// @param value   what the value is called in the help
    /// @param target  receives the value; must live until the line is parsed
    void option(const std::string& name, const std::string& value, std::optional<std::string>& target,
                const std::string& description);

    /// An option with a value, which may be given any number of times.
    /// @param targets  receives the values, in their order
    void repeatedOption(const std::string& name, const std::string& value, std::vector<std::string>& targets,
                        const std::string& description);

    /// How many words may stand beside the options; `any` is no limit. None, unless this is called.
    /// @param kind  of all operands but those that the two functions below are called for
    void operands(std::size_t least, std::size_t most, WordKind kind = WordKind::Storage);

    /// The first operand is of another kind, also if it is the last one.
    void firstOperand(WordKind kind) { first_ = kind; }

    /// The last operand is of another kind.
    void lastOperand(WordKind kind) { last_ = kind; }

    /// What the words behind the command's name are. An operand counts as the last one only if there are as many as the
    /// command requires, so the words may be the beginning of a line.
    std::vector<WordKind> kinds(const std::vector<std::string>& words) const;

    /// Parses the words behind the command's name. Options and operands may be mixed; all that follows "--"
    /// are operands.
    /// @return the operands; nothing when the line asks for help
    /// @throws UsageError
    std::optional<std::vector<std::string>> parse(std::vector<std::string> words);

    /// The help text, several lines.
    std::string help() const;

private:
    /// An option with a value.
    struct Option {
        std::string name; ///< as the user writes it
        std::string value;
        const CLI::Option* parsed;
        bool isRepeatable = false;
    };
    struct HelpLine {
        std::string term;
        std::string description;
    };

    bool takesNextWord(const std::string& word) const;
    WordKind operandKind(std::size_t index, std::size_t count) const;
    void translateWordOptions(std::vector<std::string>& words) const;
    [[noreturn]] void refuseMissingValue(const CLI::ArgumentMismatch& error) const;
    void refuseRepeatedOptions() const;
    std::vector<std::string> collectOperands() const;

    std::string name_;
    std::string synopsis_;
    std::string summary_;
    std::unique_ptr<CLI::App> app_; ///< behind a pointer, for its header takes seconds to compile
    std::vector<HelpLine> helpLines_;
    std::vector<Option> options_;
    std::size_t least_ = 0;
    std::size_t most_ = 0;
    WordKind kind_ = WordKind::Storage;
    std::optional<WordKind> first_;
    std::optional<WordKind> last_;
};

} // namespace storage::host
