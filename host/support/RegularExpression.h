#pragma once

#include <clocale>
#include <memory>
#include <regex.h>
#include <string>
#include <string_view>
#include <type_traits>

namespace storage::host {

/// A POSIX extended regular expression over UTF-8 text, whatever the locale of the process. By the C library, whose matching
/// takes no stack that grows with the text.
///
/// Thread safety: one object is for one thread.
class RegularExpression {
public:
    enum class Case { Distinguished, Ignored };

    /// @throws UsageError when the pattern is none
    RegularExpression(const std::string& pattern, Case letters);
    ~RegularExpression();
    RegularExpression(const RegularExpression&) = delete;
    RegularExpression& operator=(const RegularExpression&) = delete;

    /// Whether it matches anywhere in a line, which may hold NUL. Of a longer line only the first 2 GiB are searched.
    bool matchesIn(std::string_view line) const;

private:
    struct LocaleCloser {
        void operator()(locale_t locale) const { ::freelocale(locale); }
    };

    std::unique_ptr<std::remove_pointer_t<locale_t>, LocaleCloser> locale_;
    regex_t compiled_{};
};

} // namespace storage::host
