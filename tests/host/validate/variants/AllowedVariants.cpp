#include "tests/host/validate/variants/AllowedVariants.h"

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

ptime inTwoSeconds(const ptime& time) {
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

/// Names that are longer than 63 characters, or contain anything but printable ASCII without upper-case
/// letters.
bool isNotPlain(std::u16string_view name) {
    return name.size() > 63 || std::any_of(name.begin(), name.end(), [](char16_t unit) {
               return unit > u'~' || unit < u' ' || (unit >= u'A' && unit <= u'Z');
           });
}

constexpr std::array<AllowedVariant, 7> table{{
    {"ShortReads", [] { return altered({.stream = wrapped<ShortReads>}); }},
    {"OtherOrders", [] { return altered({.entries = shuffled}); }},
    {"TwoSecondTimes", [] { return altered({.timeOfEntry = inTwoSeconds}); }},
    {"WriteBehindUntilFlush", [] { return altered({.stream = wrapped<WriteBehind>}); }},
    {"ForbiddenCharacters", [] { return altered({.refuses = isReserved}); }},
    {"LowerCaseAsciiNames", [] { return altered({.refuses = isNotPlain}); }},
    {"HonestCaseInsensitive", faults::build<CaseInsensitiveProvider>},
}};

} // namespace
} // namespace allowed_variants

std::span<const AllowedVariant> allowedVariants() {
    return allowed_variants::table;
}
