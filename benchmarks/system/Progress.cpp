#include "benchmarks/system/Progress.h"

#include <iostream>
#include <unistd.h>

namespace storage::benchmark {

void showProgress(const std::string& text) {
    if (::isatty(STDERR_FILENO) == 1) {
        std::cerr << "\r\x1b[K" << text << std::flush;
    }
}

} // namespace storage::benchmark
