#include "host/shell/CommandSyntax.h"

#include "host/support/UsageError.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace storage::host {

namespace {

/// The parser stops at this word. It has no special meaning in command lines, so a mark before it hides it
/// from the parser.
constexpr std::string_view parserTerminator = "++";
constexpr char mark = '\0';

std::string hidden(const std::string& word) {
    return word == parserTerminator ? mark + word : word;
}

std::string unhidden(const std::string& word) {
    return !word.empty() && word.front() == mark && word.substr(1) == parserTerminator ? word.substr(1)
                                                                                       : word;
}

/// Whether an option is one dash and a word, such as "-name".
bool isWord(const std::string& name) {
    return name.size() > 2 && name[1] != '-';
}

bool looksLikeOption(const std::string& word) {
    return word.size() > 1 && word.front() == '-';
}

} // namespace

CommandSyntax::CommandSyntax(std::string_view name, std::string_view synopsis, std::string_view summary)
    : name_(name), synopsis_(synopsis), summary_(summary), app_(std::make_unique<CLI::App>(summary_, name_)) {
    app_->set_help_flag("--help");
    // Operands are collected here, because the parser would split one in square brackets into a list.
    app_->allow_extras();
}

CommandSyntax::~CommandSyntax() = default;

void CommandSyntax::flag(const std::string& name, bool& target, const std::string& description) {
    app_->add_flag(name, target);
    helpLines_.push_back({name, description});
}

void CommandSyntax::option(const std::string& name, const std::string& value,
                           std::optional<std::string>& target, const std::string& description) {
    CLI::Option* const parsed = app_->add_option_function<std::string>(
        (isWord(name) ? "-" : "") + name, [&target](const std::string& text) { target = unhidden(text); });
    parsed->multi_option_policy(CLI::MultiOptionPolicy::TakeLast); // repetition is refused after parsing
    options_.push_back({name, value, parsed, false});
    helpLines_.push_back({name + (name.starts_with("--") ? '=' : ' ') + value, description});
}

void CommandSyntax::repeatedOption(const std::string& name, const std::string& value,
                                   std::vector<std::string>& targets, const std::string& description) {
    CLI::Option* const parsed =
        app_->add_option_function<std::vector<std::string>>(
                (isWord(name) ? "-" : "") + name,
                [&targets](const std::vector<std::string>& texts) {
                    std::transform(texts.begin(), texts.end(), std::back_inserter(targets), unhidden);
                })
            ->type_size(1)
            ->allow_extra_args(false)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    options_.push_back({name, value, parsed, true});
    helpLines_.push_back({name + (name.starts_with("--") ? '=' : ' ') + value, description});
}

void CommandSyntax::operands(std::size_t least, std::size_t most, WordKind kind) {
    least_ = least;
    most_ = most;
    kind_ = kind;
}

std::vector<WordKind> CommandSyntax::kinds(const std::vector<std::string>& words) const {
    std::vector<std::size_t> operands;
    bool optionsEnded = false;
    bool isValue = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (isValue) {
            isValue = false;
        } else if (!optionsEnded && words[i] == "--") {
            optionsEnded = true;
        } else if (!optionsEnded && looksLikeOption(words[i])) {
            isValue = takesNextWord(words[i]);
        } else {
            operands.push_back(i);
        }
    }
    std::vector<WordKind> result(words.size(), WordKind::Text);
    for (std::size_t index = 0; index < operands.size(); ++index) {
        result[operands[index]] = operandKind(index, std::max(operands.size(), least_));
    }
    return result;
}

/// Whether the value of an option is the next word: the option is the whole word, or its last letter.
bool CommandSyntax::takesNextWord(const std::string& word) const {
    const auto isOption = [this](const std::string& name) {
        return std::any_of(options_.begin(), options_.end(),
                           [&name](const Option& option) { return option.name == name; });
    };
    if (isOption(word)) {
        return true;
    }
    for (std::size_t i = 1; i < word.size(); ++i) {
        if (isOption({'-', word[i]})) {
            return i + 1 == word.size();
        }
    }
    return false;
}

WordKind CommandSyntax::operandKind(std::size_t index, std::size_t count) const {
    if (index == 0 && first_) {
        return *first_;
    }
    return index + 1 == count && last_ ? *last_ : kind_;
}

std::optional<std::vector<std::string>> CommandSyntax::parse(std::vector<std::string> words) {
    splitEmptyValues(words);
    translateWordOptions(words);
    std::reverse(words.begin(), words.end()); // the parser's order
    try {
        app_->parse(words);
    } catch (const CLI::CallForHelp&) {
        return std::nullopt;
    } catch (const CLI::ArgumentMismatch& error) {
        refuseMissingValue(error);
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    refuseRepeatedOptions();
    auto operands = collectOperands();
    if (operands.size() < least_) {
        throw UsageError(fmt::format("missing operand, usage: {} {}", name_, synopsis_));
    }
    if (operands.size() > most_) {
        throw UsageError(fmt::format("extra operand '{}'", operands[most_]));
    }
    return operands;
}

/// Splits "--name=" into the option and an empty word, because the parser would take the next word as the
/// value. Stops at "--".
void CommandSyntax::splitEmptyValues(std::vector<std::string>& words) const {
    for (std::size_t i = 0; i < words.size() && words[i] != "--"; ++i) {
        const bool isEmpty = std::any_of(options_.begin(), options_.end(), [&](const Option& option) {
            return option.name.starts_with("--") && option.name + '=' == words[i];
        });
        if (isEmpty) {
            words[i].pop_back();
            words.insert(words.begin() + static_cast<std::ptrdiff_t>(i) + 1, "");
        }
        i += isEmpty || takesNextWord(words[i]) ? 1 : 0; // a value
    }
}

/// Adds a dash to options such as "-name", because the parser accepts long options only with two dashes.
/// Stops at "--".
void CommandSyntax::translateWordOptions(std::vector<std::string>& words) const {
    bool isValue = false;
    for (std::string& word : words) {
        if (word == "--" && !isValue) {
            return;
        }
        const bool isOption =
            !isValue && std::any_of(options_.begin(), options_.end(),
                                    [&word](const Option& option) { return option.name == word; });
        word = isOption && isWord(word) ? word.insert(0, 1, '-') : hidden(word);
        isValue = isOption;
    }
}

/// Replaces the parser's message, which names an option with the parser's dashes.
void CommandSyntax::refuseMissingValue(const CLI::ArgumentMismatch& error) const {
    const std::string text = error.what();
    for (const Option& option : options_) {
        if (text.starts_with(option.parsed->get_name() + ':')) {
            throw UsageError(fmt::format("{} requires a value, {}", option.name, option.value));
        }
    }
    throw UsageError(text);
}

void CommandSyntax::refuseRepeatedOptions() const {
    for (const Option& option : options_) {
        if (!option.isRepeatable && option.parsed->count() > 1) {
            throw UsageError(fmt::format("{} is given more than once", option.name));
        }
    }
}

std::vector<std::string> CommandSyntax::collectOperands() const {
    std::vector<std::string> result;
    bool optionsEnded = false;
    for (const std::string& word : app_->remaining()) {
        if (!optionsEnded && word == "--") {
            optionsEnded = true;
        } else if (!optionsEnded && looksLikeOption(word)) {
            throw UsageError(fmt::format("unknown option '{}'", word));
        } else {
            result.push_back(optionsEnded ? word : unhidden(word));
        }
    }
    return result;
}

std::string CommandSyntax::help() const {
    std::string text =
        fmt::format("usage: {}{}{}\n{}\n", name_, synopsis_.empty() ? "" : " ", synopsis_, summary_);
    constexpr std::size_t usualWidth = 16;
    std::size_t width = usualWidth;
    for (const HelpLine& line : helpLines_) {
        width = std::max(width, line.term.size() + 2);
    }
    for (const HelpLine& line : helpLines_) {
        text += fmt::format("  {:<{}}{}\n", line.term, width, line.description);
    }
    return text;
}

} // namespace storage::host
