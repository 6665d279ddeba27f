#include "benchmarks/system/StopSignal.h"

#include <csignal>
#include <initializer_list>

namespace storage::benchmark {

namespace {

volatile std::sig_atomic_t hasArrived = 0;

extern "C" void noteStop(int /*signal*/) {
    hasArrived = 1;
}

} // namespace

StopSignal::StopSignal() {
    struct sigaction action {};
    action.sa_handler = noteStop;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        ::sigaction(signal, &action, nullptr);
    }
}

bool StopSignal::arrived() noexcept {
    return hasArrived != 0;
}

} // namespace storage::benchmark
