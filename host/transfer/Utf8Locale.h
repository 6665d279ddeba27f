#pragma once

#include <clocale>

namespace storage::host {

/// Character encoding UTF-8, whatever that of the process, for the calls of a library that converts names. Where the system has
/// no such locale, it is that of the process.
///
/// Owns the locale. Thread safety: one object is for one thread.
class Utf8Locale {
public:
    Utf8Locale() : locale_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {}
    ~Utf8Locale() {
        if (locale_ != nullptr) {
            ::freelocale(locale_);
        }
    }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

    /// Sets the locale of the thread as long as it lives.
    class Use {
    public:
        explicit Use(const Utf8Locale& locale)
            : previous_(::uselocale(locale.locale_)) {} // which changes nothing for a null pointer
        ~Use() { ::uselocale(previous_); }
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

    private:
        const locale_t previous_;
    };

private:
    const locale_t locale_;
};

} // namespace storage::host
