#pragma once

#include "benchmarks/mount/PageCache.h"
#include "benchmarks/workload/AlignedBuffer.h"
#include "benchmarks/workload/FileStream.h"
#include "benchmarks/workload/FolderListing.h"
#include "benchmarks/workload/ListingSummary.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/SystemCall.h"
#include "benchmarks/workload/Timing.h"
#include "benchmarks/workload/WrongResult.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace storage::benchmark {

/// A folder of files of 4 KiB, with timed and verified steps. `rename` is called at most once: `stat` and
/// the listings require the first names, `unlink` the later ones.
class FilesFolder {
public:
    FilesFolder(const std::filesystem::path& parent, std::uint32_t files) : folder_(parent / "files") {
        std::filesystem::create_directory(folder_);
        for (std::uint32_t file = 0; file < files; ++file) {
            names_.push_back(fmt::format("{}/f{:07}", folder_, file));
            laterNames_.push_back(fmt::format("{}/g{:07}", folder_, file));
        }
    }

    Timing create() {
        return measure(names_.size(), withoutBudget, [&](std::size_t file) {
            FileStream stream(names_[file].c_str(), O_WRONLY | O_CREAT | O_EXCL);
            stream.write(content_.stamped(file), fileSize);
            stream.close();
        });
    }

    Timing stat(std::uint32_t rounds) {
        std::uint64_t bytes = 0;
        const Timing timing = measure(rounds * names_.size(), withoutBudget, [&](std::size_t i) {
            struct stat attributes;
            checked(::stat(names_[i % names_.size()].c_str(), &attributes), "stat");
            bytes += S_ISREG(attributes.st_mode) ? static_cast<std::uint64_t>(attributes.st_size) : 0;
        });
        expectEqual(bytes, timing.operations * fileSize, "the total size of the files");
        return timing;
    }

    Timing list(std::uint32_t rounds) {
        ListingSummary found;
        const Timing timing =
            measure(rounds, withoutBudget, [&](std::size_t) { found += listFolder(folder_.c_str()); });
        expectListed(found, rounds);
        return {rounds * names_.size(), timing.seconds};
    }

    Timing listWithAttributes(std::uint32_t rounds) {
        ListingSummary found;
        std::uint64_t bytes = 0;
        const Timing timing = measure(rounds, withoutBudget, [&](std::size_t) {
            visitFolder(folder_.c_str(), [&](int folder, const dirent& entry) {
                struct stat attributes;
                checked(::fstatat(folder, entry.d_name, &attributes, AT_SYMLINK_NOFOLLOW), "stat");
                bytes += static_cast<std::uint64_t>(attributes.st_size);
                addEntry(found, entry);
            });
        });
        expectListed(found, rounds);
        expectEqual(bytes, found.entries * fileSize, "the total size of the files");
        return {rounds * names_.size(), timing.seconds};
    }

    Timing rename() {
        const Timing timing = measure(names_.size(), withoutBudget, [&](std::size_t file) {
            checked(std::rename(names_[file].c_str(), laterNames_[file].c_str()), "rename");
        });
        expectTrue(listFolder(folder_.c_str()) == expectedListing(laterNames_),
                   "every file has its later name");
        expectContents();
        return timing;
    }

    Timing unlink() {
        const Timing timing = measure(laterNames_.size(), withoutBudget, [&](std::size_t file) {
            checked(::unlink(laterNames_[file].c_str()), "unlink");
        });
        expectEqual(listFolder(folder_.c_str()).entries, 0, "remaining files");
        expectTrue(::access(laterNames_.front().c_str(), F_OK) != 0, "a removed file does not exist");
        return timing;
    }

private:
    static constexpr std::size_t fileSize = 4096;

    static ListingSummary expectedListing(const std::vector<std::string>& paths) {
        ListingSummary summary;
        for (const std::string& path : paths) {
            const std::string name = std::filesystem::path(path).filename();
            summary.add(name.c_str(), name.size(), EntryKind::File);
        }
        return summary;
    }

    void expectListed(const ListingSummary& found, std::uint32_t rounds) const {
        const ListingSummary once = expectedListing(names_);
        ListingSummary expected;
        for (std::uint32_t round = 0; round < rounds; ++round) {
            expected += once;
        }
        expectTrue(found == expected, "a listing has every name, each of a file");
    }

    /// Reads with a cold page cache.
    void expectContents() {
        for (std::size_t file = 0; file < laterNames_.size(); ++file) {
            dropCachedPages(laterNames_[file]);
            FileStream(laterNames_[file].c_str(), O_RDONLY).read(buffer_.data(), fileSize);
            expectTrue(content_.holds(buffer_.data(), file), "a file has the bytes that were written");
        }
    }

    std::string folder_;
    std::vector<std::string> names_;
    std::vector<std::string> laterNames_;
    PatternedBlock content_{4096, fileSize};
    AlignedBuffer buffer_{fileSize};
};

} // namespace storage::benchmark
