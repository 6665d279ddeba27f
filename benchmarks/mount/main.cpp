#include "benchmarks/mount/BlockFile.h"
#include "benchmarks/mount/PageCache.h"
#include "benchmarks/workload/Expect.h"
#include "benchmarks/workload/FileStream.h"
#include "benchmarks/workload/FolderListing.h"
#include "benchmarks/workload/Program.h"
#include "benchmarks/workload/RandomOrder.h"

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

namespace {

constexpr std::uint64_t mebibyte = 1 << 20;
constexpr std::size_t pageSize = 4096;

/// The amount of work of the jobs.
struct Sizes {
    std::uint64_t sequential;
    std::uint64_t smallWrites;
    std::uint64_t randomAccess;
    std::uint32_t randomOperations; ///< of each kind, at most one per page
    std::uint32_t files;
    std::uint32_t rounds; ///< passes over all files
};

constexpr Sizes fullSizes{512 * mebibyte, 128 * mebibyte, 256 * mebibyte, 32'768, 10'000, 5};
constexpr Sizes shortSizes{2 * mebibyte, mebibyte / 2, mebibyte, 64, 50, 2};

void addMegabytes(Rows& rows, const std::string& row, std::size_t blockSize, const Timing& blocks) {
    rows.addRate(row, "", {blocks.operations * blockSize, blocks.seconds}, 1e6);
}

void addThousands(Rows& rows, const std::string& row, const Timing& timing) {
    rows.addRate(row, "", timing, 1e3);
}

/// Writes and reads a file in large blocks. Reads once with a cold and once with a warm page cache.
void sequential(const std::filesystem::path& folder, const Sizes& sizes, Rows& rows) {
    BlockFile file(folder / "file", mebibyte, sizes.sequential);
    addMegabytes(rows, "sequential write, 1 MiB blocks", mebibyte, file.write());
    file.dropCache();
    addMegabytes(rows, "sequential read, 1 MiB, cold", mebibyte, file.read());
    addMegabytes(rows, "sequential read, 1 MiB, once more", mebibyte, file.read());
    file.verify();
}

void smallWrites(const std::filesystem::path& folder, const Sizes& sizes, Rows& rows) {
    BlockFile file(folder / "file", pageSize, sizes.smallWrites);
    addMegabytes(rows, "sequential write, 4 KiB", pageSize, file.write());
    file.verify();
}

/// Reads and overwrites pages of one file. Reads once with a cold and once with a warm page cache.
void randomAccess(const std::filesystem::path& folder, const Sizes& sizes, Rows& rows) {
    BlockFile file(folder / "file", pageSize, sizes.randomAccess);
    std::vector<std::uint32_t> pages = randomOrder(file.count());
    pages.resize(sizes.randomOperations);
    file.write();
    file.dropCache();
    addThousands(rows, "random read, 4 KiB, cold", file.read(pages));
    addThousands(rows, "random read, 4 KiB, once more", file.read(pages));
    addThousands(rows, "random write, 4 KiB", file.overwrite(pages));
    file.verify();
}

/// A new folder, and the names of its files. Each file contains one block of 4 KiB, stamped with its number.
struct FilesFolder {
    FilesFolder(const std::filesystem::path& parent, std::uint32_t files) : path(parent / "files") {
        std::filesystem::create_directory(path);
        for (std::uint32_t file = 0; file < files; ++file) {
            names.push_back(fmt::format("{}/f{:07}", path, file));
        }
    }

    Timing create() {
        return measure(names.size(), [this](std::size_t file) {
            FileStream stream(names[file].c_str(), O_WRONLY | O_CREAT | O_EXCL);
            stream.write(content.stamped(file), content.size());
            stream.close();
        });
    }

    /// The expected summary of a listing.
    ListingSummary summary() const {
        ListingSummary summary;
        for (const std::string& name : names) {
            summary.addFile(name);
        }
        return summary;
    }

    /// Reads all files with a cold page cache.
    void verify() {
        AlignedBuffer buffer(content.size());
        for (std::size_t file = 0; file < names.size(); ++file) {
            dropCachedPages(names[file]);
            FileStream(names[file].c_str(), O_RDONLY).read(buffer.data(), content.size());
            expectTrue(content.holds(buffer.data(), file), "a file has the bytes that were written");
        }
    }

    std::string path;
    std::vector<std::string> names;
    PatternedBlock content{pageSize, pageSize};
};

void smallFiles(const std::filesystem::path& folder, const Sizes& sizes, Rows& rows) {
    FilesFolder files(folder, sizes.files);
    addThousands(rows, "create files of 4 KiB", files.create());
    std::uint64_t bytes = 0;
    addThousands(rows, "stat", measure(sizes.rounds * sizes.files, [&](std::uint32_t i) {
                     struct stat attributes;
                     checked(::stat(files.names[i % sizes.files].c_str(), &attributes), "stat");
                     bytes +=
                         S_ISREG(attributes.st_mode) ? static_cast<std::uint64_t>(attributes.st_size) : 0;
                 }));
    expectEqual(bytes, std::uint64_t{sizes.rounds} * sizes.files * pageSize, "the total size of the files");

    std::vector<std::string> laterNames = files.names;
    for (std::string& name : laterNames) {
        name[name.rfind('/') + 1] = 'g';
    }
    addThousands(rows, "rename", measure(sizes.files, [&](std::uint32_t file) {
                     checked(std::rename(files.names[file].c_str(), laterNames[file].c_str()), "rename");
                 }));
    files.names = laterNames;
    expectTrue(listFolder(files.path.c_str()) == files.summary(), "every file has its new name");
    files.verify();

    addThousands(rows, "unlink", measure(sizes.files, [&](std::uint32_t file) {
                     checked(::unlink(files.names[file].c_str()), "unlink");
                 }));
    expectEqual(listFolder(files.path.c_str()).entries, 0, "remaining files");
    expectTrue(::access(files.names.front().c_str(), F_OK) != 0, "a removed file does not exist");
}

void listing(const std::filesystem::path& folder, const Sizes& sizes, Rows& rows) {
    FilesFolder files(folder, sizes.files);
    files.create();
    const ListingSummary expected = files.summary();
    std::uint64_t wrong = 0;
    std::uint64_t bytes = 0;
    const auto add = [&](const char* row, auto visit) {
        Timing timing = measure(sizes.rounds, [&](std::uint32_t) {
            wrong += listFolder(files.path.c_str(), visit) == expected ? 0 : 1;
        });
        timing.operations *= sizes.files;
        addThousands(rows, row, timing);
    };
    add("readdir, entries", [](int, const dirent&) {});
    add("readdir with stat, entries", [&](int directory, const dirent& entry) {
        struct stat attributes;
        checked(::fstatat(directory, entry.d_name, &attributes, AT_SYMLINK_NOFOLLOW), "stat");
        bytes += static_cast<std::uint64_t>(attributes.st_size);
    });
    expectEqual(wrong, 0, "incomplete listings");
    expectEqual(bytes, std::uint64_t{sizes.rounds} * sizes.files * pageSize, "the total size of the files");
}

/// Options: --short, --folder=PATH. Each job requires a new, empty folder.
void runJobs(Program& program) {
    const Sizes& sizes = program.takeFlag("short") ? shortSizes : fullSizes;
    const std::filesystem::path folder = program.takeOption("folder");
    const auto add = [&](const std::string& name, auto job) {
        registerScenario(name + "/folder", [=, &sizes](Rows& rows) { job(folder, sizes, rows); });
    };
    add("sequential", sequential);
    add("small-writes", smallWrites);
    add("random-access", randomAccess);
    add("small-files", smallFiles);
    add("listing", listing);
    program.run();
}

} // namespace

} // namespace storage::benchmark

int main(int argc, char** argv) {
    return storage::benchmark::guardedMain(argc, argv, storage::benchmark::runJobs);
}
