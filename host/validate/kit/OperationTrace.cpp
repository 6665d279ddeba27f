#include "host/validate/kit/OperationTrace.h"

#include "host/support/Utf.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <sys/mman.h>
#include <system_error>

namespace storage::host {

namespace {

/// Numbers threads consecutively in the order of their first call, so that concurrent threads use different
/// slots.
std::size_t numberOfThread() noexcept {
    static std::atomic<std::size_t> next = 0;
    thread_local const std::size_t number = next++;
    return number;
}

} // namespace

OperationTrace::Call::Call(const OperationTrace& trace, const char* operation,
                           std::u16string_view path) noexcept
    : slot_((*trace.slots_)[numberOfThread() % trace.slots_->size()]) {
    slot_.length = path.copy(slot_.path, longestPath);
    slot_.operation.store(operation, std::memory_order_release);
}

OperationTrace::Call::~Call() {
    slot_.operation.store(nullptr, std::memory_order_release);
}

OperationTrace::OperationTrace() {
    void* const memory =
        ::mmap(nullptr, sizeof(Slots), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) { // NOLINT(performance-no-int-to-ptr): MAP_FAILED is a system macro
        throw std::system_error(errno, std::generic_category(), "mmap");
    }
    slots_.reset(static_cast<Slots*>(memory), [](Slots* slots) { ::munmap(slots, sizeof(Slots)); });
}

std::string OperationTrace::text() const {
    std::set<std::string> calls; // a set, because several threads may be in the same operation
    for (const Slot& slot : *slots_) {
        if (const char* const operation = slot.operation.load(std::memory_order_acquire)) {
            const std::u16string_view path(slot.path, std::min(slot.length, longestPath));
            calls.insert(operation + (path.empty() ? "" : " of " + printable(path)));
        }
    }
    std::string text;
    for (const std::string& call : calls) {
        text += (text.empty() ? ", in " : " and in ") + call;
    }
    return text;
}

} // namespace storage::host
