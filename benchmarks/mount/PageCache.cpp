#include "benchmarks/mount/PageCache.h"

#include "benchmarks/workload/FileStream.h"
#include "benchmarks/workload/SystemCall.h"
#include "benchmarks/workload/WrongResult.h"

#include <algorithm>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <vector>

namespace storage::benchmark {

namespace {

constexpr std::size_t pageSize = 4096;

bool isInTmpfs(int file) {
    struct statfs attributes {};
    checked(::fstatfs(file, &attributes), "statfs");
    return attributes.f_type == TMPFS_MAGIC;
}

std::size_t sizeOf(int file) {
    struct stat attributes {};
    checked(::fstat(file, &attributes), "stat");
    return static_cast<std::size_t>(attributes.st_size);
}

std::size_t cachedPages(int file) {
    const std::size_t size = sizeOf(file);
    void* const memory = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, file, 0);
    expectTrue(memory != MAP_FAILED, "a file can be mapped");
    std::vector<unsigned char> isResident((size + pageSize - 1) / pageSize);
    const int result = ::mincore(memory, size, isResident.data());
    ::munmap(memory, size);
    checked(result, "mincore");
    return static_cast<std::size_t>(std::count_if(isResident.begin(), isResident.end(),
                                                  [](unsigned char page) { return (page & 1) != 0; }));
}

} // namespace

void dropCachedPages(const std::filesystem::path& path) {
    FileStream file(path.c_str(), O_RDWR);
    if (isInTmpfs(file.descriptor())) {
        return;
    }
    checked(::fsync(file.descriptor()), "fsync"); // only clean pages can be dropped
    expectEqual(static_cast<std::uint64_t>(::posix_fadvise(file.descriptor(), 0, 0, POSIX_FADV_DONTNEED)), 0,
                "the result of dropping cached pages");
    expectEqual(cachedPages(file.descriptor()), 0, "pages that are still cached");
}

} // namespace storage::benchmark
