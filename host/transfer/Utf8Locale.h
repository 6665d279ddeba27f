#pragma once

#include <clocale>

namespace storage::host {

/// The character encoding UTF-8, independent of the locale of the process, for library calls that convert
/// names. If the system has no such locale, the encoding of the process is used.
///
/// Owns the locale. Not thread-safe.
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

    /// Sets the locale of the calling thread for the lifetime of the object.
    class Use {
    public:
        explicit Use(const Utf8Locale& locale)
            : previous_(::uselocale(locale.locale_)) {} // a null pointer changes nothing
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
