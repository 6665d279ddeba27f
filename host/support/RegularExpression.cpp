#include "host/support/RegularExpression.h"

#include "host/support/UsageError.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>

namespace storage::host {

namespace {

constexpr std::size_t longestSubject = std::numeric_limits<regoff_t>::max();

/// Sets the locale of the calling thread for the lifetime of the object.
class ThreadLocale {
public:
    explicit ThreadLocale(locale_t locale) : previous_(::uselocale(locale)) {}
    ~ThreadLocale() { ::uselocale(previous_); }
    ThreadLocale(const ThreadLocale&) = delete;
    ThreadLocale& operator=(const ThreadLocale&) = delete;

private:
    locale_t previous_;
};

} // namespace

RegularExpression::RegularExpression(const std::string& pattern, Case letters)
    : locale_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
    if (!locale_) {
        throw std::bad_alloc(); // the only cause: this locale is built into the C library
    }
    if (pattern.find('\0') != std::string::npos) {
        throw UsageError("invalid regular expression '" + pattern + "': it contains NUL");
    }
    const ThreadLocale utf8(locale_.get());
    const int flags = REG_EXTENDED | REG_NOSUB | (letters == Case::Ignored ? REG_ICASE : 0);
    if (const int error = ::regcomp(&compiled_, pattern.c_str(), flags); error != 0) {
        std::array<char, 128> reason{};
        (void)::regerror(error, &compiled_, reason.data(), reason.size());
        throw UsageError("invalid regular expression '" + pattern + "': " + reason.data());
    }
}

RegularExpression::~RegularExpression() {
    ::regfree(&compiled_);
}

bool RegularExpression::matchesIn(std::string_view line) const {
    const ThreadLocale utf8(locale_.get());
    regmatch_t range{};
    range.rm_eo = static_cast<regoff_t>(std::min(line.size(), longestSubject));
    return ::regexec(&compiled_, line.data(), 1, &range, REG_STARTEND) == 0;
}

} // namespace storage::host
