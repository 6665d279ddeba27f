#pragma once

#include <sys/mman.h>

#include <cerrno>
#include <cstddef>
#include <system_error>

namespace storage::tests {

/// A counter in memory shared with forked child processes. Owns its page. Externally synchronized: only one
/// of the processes may use it at a time.
class SharedCounter {
public:
    SharedCounter()
        : page_(
              mmap(nullptr, sizeof(std::size_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        if (page_ == MAP_FAILED) {
            throw std::system_error(errno, std::generic_category(), "mmap");
        }
    }
    SharedCounter(const SharedCounter&) = delete;
    SharedCounter& operator=(const SharedCounter&) = delete;
    ~SharedCounter() { munmap(page_, sizeof(std::size_t)); }

    std::size_t& value() { return *static_cast<std::size_t*>(page_); } ///< initially 0

private:
    void* page_;
};

} // namespace storage::tests
