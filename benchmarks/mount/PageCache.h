#pragma once

#include "benchmarks/workload/Expect.h"
#include "benchmarks/workload/FileStream.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <vector>

namespace storage::benchmark {

inline bool isInTmpfs(int file) {
    struct statfs attributes {};
    checked(::fstatfs(file, &attributes), "statfs");
    return attributes.f_type == TMPFS_MAGIC;
}

inline std::size_t cachedPages(int file, std::size_t size) {
    void* const memory = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, file, 0);
    expectTrue(memory != MAP_FAILED, "a file can be mapped");
    constexpr std::size_t pageSize = 4096;
    std::vector<unsigned char> isResident((size + pageSize - 1) / pageSize);
    const int result = ::mincore(memory, size, isResident.data());
    ::munmap(memory, size);
    checked(result, "mincore");
    return static_cast<std::size_t>(std::count_if(isResident.begin(), isResident.end(),
                                                  [](unsigned char page) { return (page & 1) != 0; }));
}

/// Drops a file's pages from the page cache, so that the next read reaches its file system. Has no effect on
/// a tmpfs, where the page cache is the file.
/// @throws std::runtime_error when pages remain
inline void dropCachedPages(const std::filesystem::path& path) {
    FileStream file(path.c_str(), O_RDWR);
    if (isInTmpfs(file.descriptor())) {
        return;
    }
    checked(::fsync(file.descriptor()), "fsync"); // only clean pages can be dropped
    expectEqual(static_cast<std::uint64_t>(::posix_fadvise(file.descriptor(), 0, 0, POSIX_FADV_DONTNEED)), 0,
                "the result of dropping cached pages");
    expectEqual(cachedPages(file.descriptor(), std::filesystem::file_size(path)), 0,
                "pages that are still cached");
}

} // namespace storage::benchmark
