#include "host/support/FileTime.h"

#include <fmt/format.h>
#include <sys/stat.h>

namespace storage::host {

using boost::gregorian::date;
using boost::posix_time::microseconds;
using boost::posix_time::ptime;
using boost::posix_time::seconds;

namespace {

ptime epoch() {
    return ptime(date(1970, 1, 1));
}

long earliestSecond() {
    static const long second = (ptime(date(1400, 1, 1)) - epoch()).total_seconds();
    return second;
}

long latestSecond() {
    constexpr long day = 24L * 60 * 60;
    static const long second = (ptime(date(9999, 12, 31)) - epoch()).total_seconds() + day - 1;
    return second;
}

} // namespace

ptime fromDiskTime(const timespec& time) {
    if (time.tv_sec < earliestSecond()) {
        return epoch() + seconds(earliestSecond());
    }
    if (time.tv_sec > latestSecond()) {
        return epoch() + seconds(latestSecond()) + microseconds(microsecondsPerSecond - 1);
    }
    return epoch() + seconds(time.tv_sec) + microseconds(time.tv_nsec / 1000);
}

bool isSameTime(const timespec& one, const timespec& other) noexcept {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

bool isStorageTime(const timespec& time) {
    return time.tv_sec >= earliestSecond() && time.tv_sec <= latestSecond();
}

timespec toDiskTime(const ptime& time) {
    if (time.is_special()) {
        return {0, UTIME_OMIT};
    }
    const long total = (time - epoch()).total_microseconds();
    const long micros = ((total % microsecondsPerSecond) + microsecondsPerSecond) % microsecondsPerSecond;
    return {(total - micros) / microsecondsPerSecond, micros * 1000};
}

std::string formatSeconds(const ptime& time) {
    if (time.is_special()) {
        return "-";
    }
    const auto day = time.date().year_month_day();
    const auto clock = time.time_of_day();
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", static_cast<int>(day.year),
                       static_cast<int>(day.month), static_cast<int>(day.day), clock.hours(), clock.minutes(),
                       clock.seconds());
}

std::string formatMicroseconds(const ptime& time) {
    if (time.is_special()) {
        return "-";
    }
    const long micros = time.time_of_day().total_microseconds() % microsecondsPerSecond;
    return fmt::format("{}.{:06} UTC", formatSeconds(time), micros);
}

std::string formatDiskTime(const timespec& time) {
    const ptime known = fromDiskTime(time);
    if (!isStorageTime(time) || time.tv_nsec % 1000 == 0) {
        return formatMicroseconds(known);
    }
    return fmt::format("{}.{:09} UTC", formatSeconds(known), time.tv_nsec);
}

} // namespace storage::host
