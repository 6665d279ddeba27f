#include "tests/stress/size/AddressSpace.h"

#include "tests/stress/size/Mebibyte.h"

#include <fmt/core.h>

#include <sys/resource.h>

#include <new>
#include <vector>

namespace storage::stress {

namespace {

constexpr rlim_t addresses = rlim_t{1} << 30U;
constexpr unsigned long leastFiles = addresses / (32 * mebibyte) - 3; // slack for the program itself

/// Limits the address space (soft limit) for the lifetime of the object.
class Limit {
public:
    Limit() {
        requireThat(::getrlimit(RLIMIT_AS, &before_) == 0, "address space: getrlimit fails");
        const rlimit limit{addresses, before_.rlim_max};
        requireThat(::setrlimit(RLIMIT_AS, &limit) == 0, "address space: setrlimit fails");
    }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;
    ~Limit() { ::setrlimit(RLIMIT_AS, &before_); }

private:
    rlimit before_{};
};

} // namespace

void AddressSpace::run() {
    const unsigned long files = fill();
    fmt::print("address space: {} files of 17 MiB fit in 1 GiB\n", files);
    requireThat(files >= leastFiles, "address space: ", files, " files of 17 MiB instead of ", leastFiles);
}

unsigned long AddressSpace::fill() {
    const std::vector<char> block(mebibyte, 'x');
    const Limit limit;
    for (unsigned long files = 0;; ++files) {
        try {
            const auto stream = provider_->doOpenStream(StorageIRI(u"/" + nameOfNumber(files, 5)), {});
            for (int i = 0; i < 17; ++i) {
                stream->write(block.data(), mebibyte);
            }
        } catch (const std::bad_alloc&) {
            return files;
        }
    }
}

} // namespace storage::stress
