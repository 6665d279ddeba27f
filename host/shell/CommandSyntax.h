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

/// The kind of a word in a command line. Determines how it is expanded and completed.
enum class WordKind {
    Storage, ///< a path of the storage
    Disk,    ///< a path of the disk
    Command, ///< the name of a command
    Text,    ///< an option, its value, or text of another kind
};

/// The options and operands of one command. Parses one command line.
///
/// Not thread-safe.
class CommandSyntax {
public:
    static constexpr std::size_t any = std::numeric_limits<std::size_t>::max();

    /// @param name      the command
    /// @param synopsis  options and operands for the help, in one line
    /// @param summary   for the help, one sentence
    CommandSyntax(std::string_view name, std::string_view synopsis, std::string_view summary);
    CommandSyntax(const CommandSyntax&) = delete;
    CommandSyntax& operator=(const CommandSyntax&) = delete;
    ~CommandSyntax();

    /// Declares an option without a value.
    /// @param name    for example "-l"
    /// @param target  set to true if the option is given; must exist until the line is parsed
    void flag(const std::string& name, bool& target, const std::string& description);

    /// Declares an option with a value that may be given once.
    /// @param name    "-L", "-name", or "--name"; the value of the last form may also follow "="
    /// @param value   name of the value in the help
    /// @param target  receives the value; must exist until the line is parsed
    void option(const std::string& name, const std::string& value, std::optional<std::string>& target,
                const std::string& description);

    /// Declares an option with a value that may be repeated.
    /// @param targets  receives the values in order; must exist until the line is parsed
    void repeatedOption(const std::string& name, const std::string& value, std::vector<std::string>& targets,
                        const std::string& description);

    /// Declares the number of operands. Without this call there are none.
    /// @param most  `any` for no limit
    /// @param kind  kind of the operands that the next two functions do not change
    void operands(std::size_t least, std::size_t most, WordKind kind = WordKind::Storage);

    /// Sets the kind of the first operand, even if it is also the last one.
    void firstOperand(WordKind kind) { first_ = kind; }

    /// Sets the kind of the last operand.
    void lastOperand(WordKind kind) { last_ = kind; }

    /// Returns the kinds of the words after the command's name. The words may be the beginning of a line: an
    /// operand counts as the last one only if the required number of operands is present.
    std::vector<WordKind> kinds(const std::vector<std::string>& words) const;

    /// Parses the words after the command's name. Options and operands may be mixed; all words after "--"
    /// are operands.
    /// @return the operands; nothing if the line asks for help
    /// @throws UsageError
    std::optional<std::vector<std::string>> parse(std::vector<std::string> words);

    /// Returns the help text, several lines.
    std::string help() const;

private:
    /// An option with a value.
    struct Option {
        std::string name; ///< as typed by the user
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
    void splitEmptyValues(std::vector<std::string>& words) const;
    void translateWordOptions(std::vector<std::string>& words) const;
    [[noreturn]] void refuseMissingValue(const CLI::ArgumentMismatch& error) const;
    void refuseRepeatedOptions() const;
    std::vector<std::string> collectOperands() const;

    std::string name_;
    std::string synopsis_;
    std::string summary_;
    std::unique_ptr<CLI::App> app_; ///< a pointer, because its header takes seconds to compile
    std::vector<HelpLine> helpLines_;
    std::vector<Option> options_;
    std::size_t least_ = 0;
    std::size_t most_ = 0;
    WordKind kind_ = WordKind::Storage;
    std::optional<WordKind> first_;
    std::optional<WordKind> last_;
};

} // namespace storage::host
