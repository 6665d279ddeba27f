#include "host/support/Interruption.h"

namespace storage::host {

namespace {

volatile std::sig_atomic_t pendingSignal = 0; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

extern "C" void rememberSignal(int signal) {
    pendingSignal = signal;
}

} // namespace

Interruption::Interruption() {
    pendingSignal = 0;
    struct sigaction action {};
    action.sa_handler = rememberSignal; // no SA_RESTART: a signal must end a blocking read
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < signals_.size(); ++i) {
        sigaction(signals_[i], nullptr, &previous_[i]);
        if (previous_[i].sa_handler != SIG_IGN) {
            sigaction(signals_[i], &action, nullptr);
        }
    }
}

Interruption::~Interruption() {
    for (std::size_t i = 0; i < signals_.size(); ++i) {
        sigaction(signals_[i], &previous_[i], nullptr);
    }
}

void Interruption::check() {
    if (pending() != 0) {
        throw Interrupted();
    }
}

int Interruption::pending() noexcept {
    return pendingSignal;
}

void Interruption::clear() noexcept {
    pendingSignal = 0;
}

} // namespace storage::host
