#include "tests/support/SteppedWrites.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <utility>

#include <ucontext.h>

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__) || defined(_GLIBCXX_DEBUG)
#define QZSTORAGE_CANNOT_STEP
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
#define QZSTORAGE_CANNOT_STEP
#endif
#endif

namespace storage::tests {

/// An object, its bytes after the previous instruction, and the writes to it.
struct SteppedWrites::Object {
    Bytes bytes;
    std::vector<std::byte> before = {};
    unsigned writes = 0;
    std::vector<std::uintptr_t> lines = {}; ///< with reserved capacity: a signal handler must not allocate

    /// Records the changes of the last instruction. @return whether there are any
    bool note(bool isAtomic) noexcept {
        if (std::memcmp(before.data(), bytes.data(), bytes.size()) == 0) {
            return false;
        }
        constexpr std::uintptr_t cacheLine = 64;
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            if (before[at] != bytes[at]) {
                before[at] = bytes[at];
                const auto line = reinterpret_cast<std::uintptr_t>(&bytes[at]) / cacheLine * cacheLine;
                if (isAtomic && lines.size() < lines.capacity()) {
                    lines.push_back(line);
                }
            }
        }
        writes += isAtomic ? 1 : 0;
        return true;
    }
};

#if defined(__x86_64__) && !defined(QZSTORAGE_CANNOT_STEP)

namespace {

constexpr greg_t trapFlag = 0x100;

/// Whether the instruction has a lock prefix or is an exchange with memory, which locks without one.
bool isAtomicInstruction(const unsigned char* code) noexcept {
    constexpr unsigned char lockPrefix = 0xf0;
    constexpr unsigned char otherPrefixes[] = {0x66, 0xf2, 0xf3, 0x64, 0x65};
    while (std::memchr(otherPrefixes, *code, sizeof otherPrefixes) != nullptr) {
        ++code;
    }
    if (*code == lockPrefix) {
        return true;
    }
    code += (*code & 0xf0U) == 0x40 ? 1 : 0; // a REX prefix
    const bool isExchange = *code == 0x86 || *code == 0x87;
    return isExchange && (code[1] & 0xc0U) != 0xc0; // of a register with memory
}

} // namespace

/// The state of the signal handler.
struct SteppedWrites::Stepping {
    // NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): a signal handler has no other state
    static inline std::vector<Object>* objects = nullptr; ///< null to end the stepping
    static inline const unsigned char* instruction = nullptr;
    static inline unsigned elsewhere = 0;
    // NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

    static void handle(int /*signal*/, siginfo_t* /*information*/, void* context) noexcept {
        auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
        if (objects == nullptr) {
            registers[REG_EFL] &= ~trapFlag;
            return;
        }
        const bool isAtomic = instruction != nullptr && isAtomicInstruction(instruction);
        bool isChanged = false;
        for (Object& object : *objects) {
            isChanged = object.note(isAtomic) || isChanged;
        }
        elsewhere += isAtomic && !isChanged ? 1 : 0;
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the register holds an address
        instruction = reinterpret_cast<const unsigned char*>(registers[REG_RIP]);
    }
};

bool SteppedWrites::isAvailable() {
    std::atomic<int> number = 0;
    SteppedWrites stepped({std::as_bytes(std::span(&number, 1))});
    return stepped.count([&] { ++number; }).writes[0] == 1;
}

SteppedWrites::Counts SteppedWrites::count(const std::function<void()>& operation) {
    for (Object& object : objects_) {
        object.before.assign(object.bytes.begin(), object.bytes.end());
        object.writes = 0;
        object.lines.clear();
        object.lines.reserve(1000);
    }
    struct sigaction stepped {};
    struct sigaction previous {};
    stepped.sa_sigaction = Stepping::handle;
    stepped.sa_flags = SA_SIGINFO;
    sigaction(SIGTRAP, &stepped, &previous);
    Stepping::elsewhere = 0;
    Stepping::instruction = nullptr;
    Stepping::objects = &objects_;
    // Sets the trap flag below the red zone of the stack.
    __asm__ __volatile__(
        "lea -128(%%rsp), %%rsp; pushfq; orl $0x100, (%%rsp); popfq; lea 128(%%rsp), %%rsp" ::
            : "cc", "memory");
    operation();
    Stepping::objects = nullptr;
    __asm__ __volatile__("nop" ::: "memory"); // the handler clears the flag
    sigaction(SIGTRAP, &previous, nullptr);

    Counts counts;
    counts.elsewhere = Stepping::elsewhere;
    for (const Object& object : objects_) {
        counts.writes.push_back(object.writes);
        counts.lines.emplace_back(object.lines.begin(), object.lines.end());
    }
    return counts;
}

#else

bool SteppedWrites::isAvailable() {
    return false;
}

SteppedWrites::Counts SteppedWrites::count(const std::function<void()>& operation) {
    operation();
    return {};
}

#endif

SteppedWrites::SteppedWrites(const std::vector<Bytes>& objects) {
    for (const Bytes bytes : objects) {
        objects_.push_back({.bytes = bytes});
    }
}

SteppedWrites::~SteppedWrites() = default;

} // namespace storage::tests
