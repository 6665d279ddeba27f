#include "host/mount/SystemLog.h"

#include <syslog.h>

namespace storage::host {

SystemLog::int_type SystemLog::overflow(int_type character) {
    if (character == '\n') {
        ::syslog(LOG_USER | LOG_ERR, "%s", line_.c_str());
        line_.clear();
    } else if (character != traits_type::eof()) {
        line_ += traits_type::to_char_type(character);
    }
    return traits_type::not_eof(character);
}

} // namespace storage::host
