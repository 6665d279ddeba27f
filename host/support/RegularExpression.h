#pragma once

#include <clocale>
#include <memory>
#include <regex.h>
#include <string>
#include <string_view>
#include <type_traits>

namespace storage::host {

/// A POSIX extended regular expression over UTF-8 text, independent of the locale of the process. It uses the
/// C library, because its stack use while matching does not grow with the text.
///
/// Not thread-safe.
class RegularExpression {
public:
    enum class Case { Distinguished, Ignored };

    /// @throws UsageError when the pattern is invalid
    RegularExpression(const std::string& pattern, Case letters);
    ~RegularExpression();
    RegularExpression(const RegularExpression&) = delete;
    RegularExpression& operator=(const RegularExpression&) = delete;

    /// Whether the expression matches anywhere in a line, which may contain NUL. Only the first 2 GiB of a
    /// line are searched.
    bool matchesIn(std::string_view line) const;

private:
    struct LocaleCloser {
        void operator()(locale_t locale) const { ::freelocale(locale); }
    };

    std::unique_ptr<std::remove_pointer_t<locale_t>, LocaleCloser> locale_;
    regex_t compiled_{};
};

} // namespace storage::host
