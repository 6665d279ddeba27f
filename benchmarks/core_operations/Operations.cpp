#include "benchmarks/core_operations/Operations.h"

#include "tests/stress/Violation.h"

#include <fmt/xchar.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace storage::core_operations {

using namespace provider;
using stress::requireThat;

namespace {

constexpr unsigned folderSize = 10'000;

/// Locations in a random order that is the same in every run.
using Scattered = std::vector<StorageIRI>;

Scattered scattered(unsigned count, const std::function<std::u16string(unsigned number)>& locationOf) {
    Scattered locations;
    locations.reserve(count);
    for (unsigned number = 0; number < count; ++number) {
        locations.emplace_back(locationOf(number));
    }
    std::shuffle(locations.begin(), locations.end(), std::mt19937(count));
    return locations;
}

/// The locations of files in one folder.
Scattered scatteredFiles(std::u16string_view folder, unsigned count) {
    return scattered(
        count, [folder](unsigned number) { return fmt::format(u"{}/document-{:05}.txt", folder, number); });
}

void createFolder(const IProvider& storage, std::u16string_view path) {
    storage.doCreateFolder(StorageIRI(std::u16string(path)));
}

/// Creates 100 folders below a folder with a long name. Returns the locations of 100 files in each of them.
/// Their paths have 60 code units and a long common prefix.
Scattered scatteredInTree(const IProvider& storage) {
    constexpr unsigned size = 100;
    const auto folderPath = [](unsigned number) {
        return fmt::format(u"/a-folder-with-a-rather-long-name/folder-{:04}", number);
    };
    createFolder(storage, u"/a-folder-with-a-rather-long-name");
    for (unsigned number = 0; number < size; ++number) {
        createFolder(storage, folderPath(number));
    }
    return scattered(size * size, [&](unsigned number) {
        return fmt::format(u"{}/file-{:05}.txt", folderPath(number / size), number % size);
    });
}

void createFiles(const IProvider& storage, std::span<const StorageIRI> files) {
    for (const auto& file : files) {
        storage.doCreateFile(file);
    }
}

/// A folder with files.
Scattered createdFiles(const IProvider& storage, std::u16string_view folder, unsigned count) {
    createFolder(storage, folder);
    Scattered files = scatteredFiles(folder, count);
    createFiles(storage, files);
    return files;
}

/// The number of files that exist.
unsigned long countOfFiles(const IProvider& storage, std::span<const StorageIRI> files) {
    const auto exists = [&storage](const StorageIRI& file) { return storage.doFileExists(file); };
    return static_cast<unsigned long>(std::ranges::count_if(files, exists));
}

/// Creates 10,000 files in a folder with 10,000 others. The folder doubles in size, so the count includes the
/// amortized cost of growth exactly once.
void createFile(const IProvider& storage, Count& count) {
    createFolder(storage, u"/files");
    const Scattered files = scatteredFiles(u"/files", 2 * folderSize);
    createFiles(storage, std::span(files).first(folderSize));
    count(folderSize, [&] { createFiles(storage, std::span(files).last(folderSize)); });
    requireThat(countOfFiles(storage, files) == files.size(), "not every file was created");
}

void createFileInTree(const IProvider& storage, Count& count) {
    const Scattered files = scatteredInTree(storage);
    count(files.size(), [&] { createFiles(storage, files); });
    requireThat(countOfFiles(storage, files) == files.size(), "not every file was created");
}

/// Removes 10,000 of 20,000 files from a folder.
void removeFile(const IProvider& storage, Count& count) {
    const Scattered files = createdFiles(storage, u"/files", 2 * folderSize);
    const auto removed = std::span(files).first(folderSize);
    count(folderSize, [&] {
        for (const auto& file : removed) {
            storage.doRemoveFile(file);
        }
    });
    requireThat(countOfFiles(storage, removed) == 0, "removed files still exist");
    requireThat(countOfFiles(storage, files) == folderSize, "other files are lost");
}

/// Moves the 10,000 files of a folder to another with 10,000 others.
void moveFile(const IProvider& storage, Count& count) {
    const Scattered sources = createdFiles(storage, u"/from", folderSize);
    createdFiles(storage, u"/to", folderSize);
    Scattered destinations;
    for (const auto& source : sources) {
        destinations.emplace_back(u"/to/moved-" +
                                  source.getPath().substr(std::u16string_view(u"/from/").size()));
    }
    count(folderSize, [&] {
        for (std::size_t index = 0; index < folderSize; ++index) {
            storage.doMoveFile(sources[index], destinations[index], ReplacementPolicy::RefuseExisting);
        }
    });
    requireThat(countOfFiles(storage, sources) == 0, "moved files are still at their old paths");
    requireThat(countOfFiles(storage, destinations) == folderSize, "moved files are lost");
}

/// Moves a folder with 10 folders of 100 files. Counted per entry below the folder.
void moveFolder(const IProvider& storage, Count& count) {
    constexpr unsigned long moves = 10;
    constexpr unsigned folders = 10;
    constexpr unsigned filesPerFolder = 100;
    constexpr unsigned entries = folders + folders * filesPerFolder;
    std::vector<StorageIRI> places;
    for (unsigned long place = 0; place <= moves; ++place) {
        places.emplace_back(fmt::format(u"/project-{:02}", place));
    }
    storage.doCreateFolder(places.front());
    for (unsigned folder = 0; folder < folders; ++folder) {
        createdFiles(storage, fmt::format(u"{}/folder-{:02}", places.front().getPath(), folder),
                     filesPerFolder);
    }
    count(moves * entries, [&] {
        for (unsigned long place = 0; place < moves; ++place) {
            storage.doMoveFolder(places[place], places[place + 1], ReplacementPolicy::RefuseExisting);
        }
    });
    requireThat(storage.doListAllRecursiveNamesOnly(places.back()).size() == entries,
                "the moved folder has lost entries");
}

void lookUp(const IProvider& storage, const Scattered& files, Count& count) {
    unsigned long writable = 0;
    count(files.size(), [&] {
        for (const auto& file : files) {
            writable += storage.doGetFileAttributes(file).isWritable() ? 1 : 0;
        }
    });
    requireThat(writable == files.size(), "only ", writable, " of ", files.size(), " files are writable");
}

/// Looks up files in a folder of 10,000 files.
void fileAttributes(const IProvider& storage, Count& count) {
    lookUp(storage, createdFiles(storage, u"/files", folderSize), count);
}

void fileAttributesInTree(const IProvider& storage, Count& count) {
    const Scattered files = scatteredInTree(storage);
    createFiles(storage, files);
    lookUp(storage, files, count);
}

/// Looks up missing names in a folder of 10,000 files.
void missingFile(const IProvider& storage, Count& count) {
    createdFiles(storage, u"/files", folderSize);
    const Scattered missing = scattered(
        folderSize, [](unsigned number) { return fmt::format(u"/files/document-{:05}.old", number); });
    unsigned long found = folderSize;
    count(folderSize, [&] { found = countOfFiles(storage, missing); });
    requireThat(found == 0, found, " missing files were found");
}

/// Lists a folder of 1,000 files. Counted per entry.
void listFolder(const IProvider& storage, Count& count) {
    constexpr unsigned long listings = 20;
    constexpr unsigned entries = 1000;
    const StorageIRI folder(u"/files");
    const Scattered files = createdFiles(storage, folder.getPath(), entries);
    std::size_t length = 0;
    count(listings * entries, [&] {
        for (unsigned long turn = 0; turn < listings; ++turn) {
            const auto listing = storage.doListAll(folder);
            while (listing->hasNext()) {
                listing->step();
                length += listing->getEntry().getName().size();
            }
        }
    });
    const auto expected = listings * entries * (files.front().getPath().size() - folder.getPath().size() - 1);
    requireThat(length == expected, "the names listed are ", length, " long, not ", expected);
}

constexpr std::size_t blockSize = 4096;

/// Creates 1,000 files of one block each.
Scattered createFilled(const IProvider& storage, char content) {
    const std::string block(blockSize, content);
    createFolder(storage, u"/files");
    Scattered files = scatteredFiles(u"/files", 1000);
    for (const auto& file : files) {
        storage.doOpenStream(file, {})->write(block.data(), std::ssize(block));
    }
    return files;
}

/// Opens a file, reads its 4 KiB and closes it.
void readFile(const IProvider& storage, Count& count) {
    constexpr char content = 7;
    const Scattered files = createFilled(storage, content);
    std::string block(blockSize, '\0');
    long sum = 0;
    count(files.size(), [&] {
        for (const auto& file : files) {
            block.back() = 0;
            sum += storage.doOpenReadOnlyStream(file)->read(block.data(), std::ssize(block));
            sum += block.back();
        }
    });
    const auto expected = std::ssize(files) * (std::ssize(block) + content);
    requireThat(sum == expected, "bytes read and last bytes sum up to ", sum, ", not ", expected);
}

/// Opens a file, overwrites its 4 KiB and closes it.
void overwriteFile(const IProvider& storage, Count& count) {
    constexpr ByteStreamOpenOptions existing{.existence = ByteStreamExistence::MustExist};
    const Scattered files = createFilled(storage, 'a');
    const std::string written(blockSize, 'b');
    count(files.size(), [&] {
        for (const auto& file : files) {
            storage.doOpenStream(file, existing)->write(written.data(), std::ssize(written));
        }
    });
    for (const auto& file : files) {
        std::string read(blockSize, '\0');
        storage.doOpenReadOnlyStream(file)->read(read.data(), std::ssize(read));
        requireThat(read == written, "a file was not overwritten");
    }
}

/// Writes 64 bytes at a time through one stream at the end of a file. It grows from empty to 6.4 MB. The
/// count includes the cost of reallocation.
template <ByteStreamAppend Mode>
void append(const IProvider& storage, Count& count) {
    constexpr unsigned appends = 100'000;
    const std::string record(64, 'b');
    const StorageIRI file(u"/log");
    storage.doCreateFile(file);
    const auto log = storage.doOpenStream(file, {.append = Mode});
    count(appends, [&] {
        for (unsigned turn = 0; turn < appends; ++turn) {
            log->write(record.data(), std::ssize(record));
        }
    });
    const auto size = storage.doGetFileAttributes(file).getSize();
    requireThat(size == appends * record.size(), "the file has ", size, " bytes");
}

} // namespace

const std::map<std::string, Operation*> operations{
    {"append_64_bytes", append<ByteStreamAppend::AppendAtEnd>},
    {"append_at_position", append<ByteStreamAppend::WriteAtPosition>},
    {"create_file", createFile},
    {"create_file_in_tree", createFileInTree},
    {"file_attributes", fileAttributes},
    {"file_attributes_in_tree", fileAttributesInTree},
    {"list_per_entry", listFolder},
    {"missing_file", missingFile},
    {"move_file", moveFile},
    {"move_folder_per_entry", moveFolder},
    {"overwrite_4_kib", overwriteFile},
    {"read_4_kib", readFile},
    {"remove_file", removeFile},
};

} // namespace storage::core_operations
