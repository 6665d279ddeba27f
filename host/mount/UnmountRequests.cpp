#include "host/mount/UnmountRequests.h"

#include <algorithm>
#include <chrono>

namespace storage::host {

namespace {

constexpr std::chrono::seconds longestReply(2);

} // namespace

UnmountStatus UnmountRequests::start() {
    const ScopedLock lock(mutex_);
    if (status_.stage == Stage::Mounted || status_.stage == Stage::Failed) {
        ++status_.attempt;
        status_.stage = Stage::Saving;
        setText("");
        requesters_ = 0;
        requested_.set();
    }
    ++requesters_;
    return status_;
}

UnmountStatus UnmountRequests::status() {
    const ScopedLock lock(mutex_);
    if (status_.stage == Stage::Saved && requesters_ > 0) {
        --requesters_;
        informed_.notify_all();
    }
    return status_;
}

void UnmountRequests::begin() {
    const ScopedLock lock(mutex_);
    requested_.reset();
    if (status_.stage != Stage::Saving) {
        ++status_.attempt;
        status_.stage = Stage::Saving;
        requesters_ = 0;
    }
    setText("");
}

void UnmountRequests::progress(std::string_view text) {
    const ScopedLock lock(mutex_);
    setText(text);
}

void UnmountRequests::fail(std::string_view text) {
    const ScopedLock lock(mutex_);
    status_.stage = Stage::Failed;
    setText(text);
}

void UnmountRequests::finish(std::string_view text) {
    const auto end = std::chrono::steady_clock::now() + longestReply;
    const ScopedLock lock(mutex_);
    status_.stage = Stage::Saved;
    setText(text);
    while (requesters_ > 0 && informed_.wait_until(mutex_, end) != std::cv_status::timeout) {
    }
}

void UnmountRequests::setText(std::string_view text) {
    status_.text.fill('\0');
    std::copy_n(text.begin(), std::min(text.size(), status_.text.size() - 1), status_.text.begin());
}

} // namespace storage::host
