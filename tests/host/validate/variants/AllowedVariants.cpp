#include "tests/host/validate/variants/AllowedVariants.h"

#include "tests/host/validate/faults/LocationParts.h"
#include "tests/host/validate/variants/AlteredProvider.h"
#include "tests/host/validate/variants/CaseInsensitiveProvider.h"
#include "tests/support/ForwardingStream.h"

#include <algorithm>
#include <atomic>
#include <random>

using namespace foundation::storage::provider;

namespace allowed_variants {
namespace {

using boost::posix_time::ptime;

/// Reads at most half of the requested bytes, but at least one.
class ShortReads final : public ForwardingStream {
public:
    using ForwardingStream::ForwardingStream;

    long read(char* buffer, long count) override {
        return inner().read(buffer, count > 1 ? count / 2 : count);
    }
};

/// Buffers writes until the stream flushes, reads, seeks or closes.
class WriteBehind final : public ForwardingStream {
public:
    using ForwardingStream::ForwardingStream;

    WriteBehind(const WriteBehind&) = delete;
    WriteBehind& operator=(const WriteBehind&) = delete;
    ~WriteBehind() override {
        try {
            commit();
        } catch (...) { // a destructor cannot report failures
        }
    }

    long read(char* buffer, long count) override {
        commit();
        return inner().read(buffer, count);
    }
    long write(const char* buffer, long count) override {
        pending_.append(buffer, static_cast<std::size_t>(count));
        return count;
    }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        commit();
        return inner().seek(offset, direction);
    }
    void flush() override {
        commit();
        inner().flush();
    }

private:
    void commit() {
        if (!pending_.empty()) {
            inner().write(pending_.data(), static_cast<long>(pending_.size()));
            pending_.clear();
        }
    }

    std::string pending_;
};

/// Returns a different order for each listing.
Alterations::Entries shuffled(Alterations::Entries entries) {
    static std::atomic<unsigned> seed = 0;
    std::shuffle(entries.begin(), entries.end(), std::minstd_rand(++seed));
    return entries;
}

ptime truncatedToTwoSeconds(const ptime& time) {
    if (time.is_special()) {
        return time;
    }
    const auto ofDay = time.time_of_day();
    return {time.date(), boost::posix_time::seconds(ofDay.total_seconds() / 2 * 2)};
}

/// Names that common desktop file systems refuse.
bool isReserved(std::u16string_view name) {
    constexpr std::u16string_view forbidden = u"<>:\"|?*\\";
    return name.size() > 255 || name.ends_with(u' ') || name.ends_with(u'.') ||
           std::any_of(name.begin(), name.end(), [&](char16_t unit) {
               return unit < 0x20 || forbidden.find(unit) != std::u16string_view::npos;
           });
}

/// Names that are longer than 63 characters, or contain an upper-case letter or anything outside printable
/// ASCII.
bool isNotPlain(std::u16string_view name) {
    return name.size() > 63 || std::any_of(name.begin(), name.end(), [](char16_t unit) {
               return unit > u'~' || unit < u' ' || (unit >= u'A' && unit <= u'Z');
           });
}

/// Like `faults::inLowerCase`, but also for several other scripts, and for compatibility characters that
/// correspond to a letter.
std::u16string inLowerCaseOfAllScripts(std::u16string name) {
    name = faults::inLowerCase(std::move(name));
    for (char16_t& unit : name) {
        const auto isIn = [&](char16_t first, char16_t last) { return unit >= first && unit <= last; };
        if ((isIn(0xC0, 0xDE) && unit != 0xD7) || isIn(0x391, 0x3A9) || isIn(0x410, 0x42F) ||
            isIn(0xFF21, 0xFF3A)) {
            unit = static_cast<char16_t>(unit + 0x20);
        } else if (isIn(0x100, 0x12F) || isIn(0x1E00, 0x1E95)) {
            unit = static_cast<char16_t>(unit | 1);
        } else if (isIn(0x400, 0x40F)) {
            unit = static_cast<char16_t>(unit + 0x50);
        }
    }
    for (const auto& [capital, small] : std::initializer_list<std::pair<char16_t, char16_t>>{
             {0x212A, u'k'}, {0x212B, 0xE5}, {0x2126, 0x3C9}, {0x3C2, 0x3C3}, {0xB5, 0x3BC}, {0x17F, u's'}}) {
        std::replace(name.begin(), name.end(), capital, small);
    }
    return name;
}

template <CaseInsensitiveProvider::Fold fold>
std::shared_ptr<IProvider> caseInsensitive() {
    return std::make_shared<CaseInsensitiveProvider>(fold);
}

constexpr std::array<AllowedVariant, 8> table{{
    {"ShortReads", [] { return altered({.stream = wrapped<ShortReads>}); }},
    {"OtherOrders", [] { return altered({.entries = shuffled}); }},
    {"TwoSecondTimes", [] { return altered({.timeOfEntry = truncatedToTwoSeconds}); }},
    {"WriteBehindUntilFlush", [] { return altered({.stream = wrapped<WriteBehind>}); }},
    {"ForbiddenCharacters", [] { return altered({.refuses = isReserved}); }},
    {"LowerCaseAsciiNames", [] { return altered({.refuses = isNotPlain}); }},
    {"HonestCaseInsensitive", caseInsensitive<faults::inLowerCase>},
    {"HonestCaseInsensitiveInAllScripts", caseInsensitive<inLowerCaseOfAllScripts>},
}};

} // namespace
} // namespace allowed_variants

std::span<const AllowedVariant> allowedVariants() {
    return allowed_variants::table;
}
