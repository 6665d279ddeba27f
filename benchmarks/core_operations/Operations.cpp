#include "benchmarks/core_operations/Operations.h"

#include "tests/stress/Violation.h"

#include <fmt/xchar.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <random>
#include <span>
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
    Scattered files = scattered(size * size, [&](unsigned number) {
        return fmt::format(u"{}/file-{:05}.txt", folderPath(number / size), number % size);
    });
    requireThat(files.front().getPath().size() == 60, "the paths are ", files.front().getPath().size(),
                " long");
    return files;
}

void createFiles(const IProvider& storage, std::span<const StorageIRI> files) {
    for (const auto& file : files) {
        storage.doCreateFile(file);
    }
}

/// Creates a folder with files. Returns the locations of the files.
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
Measurement createFile(const IProvider& storage) {
    createFolder(storage, u"/files");
    const Scattered files = scatteredFiles(u"/files", 2 * folderSize);
    createFiles(storage, std::span(files).first(folderSize));
    return {folderSize, [&storage, files] { createFiles(storage, std::span(files).last(folderSize)); },
            [&storage, files] {
                requireThat(countOfFiles(storage, files) == files.size(), "not every file was created");
            }};
}

Measurement createFileInTree(const IProvider& storage) {
    const Scattered files = scatteredInTree(storage);
    return {files.size(), [&storage, files] { createFiles(storage, files); },
            [&storage, files] {
                requireThat(countOfFiles(storage, files) == files.size(), "not every file was created");
            }};
}

/// Removes 10,000 of 20,000 files from a folder.
Measurement removeFile(const IProvider& storage) {
    const Scattered files = createdFiles(storage, u"/files", 2 * folderSize);
    return {folderSize,
            [&storage, files] {
                for (const auto& file : std::span(files).first(folderSize)) {
                    storage.doRemoveFile(file);
                }
            },
            [&storage, files] {
                const std::span all(files);
                requireThat(countOfFiles(storage, all.first(folderSize)) == 0, "removed files still exist");
                requireThat(countOfFiles(storage, all.last(folderSize)) == folderSize,
                            "other files are lost");
            }};
}

/// Moves the 10,000 files of a folder to another with 10,000 others.
Measurement moveFile(const IProvider& storage) {
    createFolder(storage, u"/from");
    createFolder(storage, u"/to");
    const Scattered sources = scatteredFiles(u"/from", folderSize);
    createFiles(storage, sources);
    createFiles(storage, scatteredFiles(u"/to", folderSize));
    Scattered destinations;
    for (const auto& source : sources) {
        destinations.emplace_back(u"/to/moved-" +
                                  source.getPath().substr(std::u16string_view(u"/from/").size()));
    }
    return {folderSize,
            [&storage, sources, destinations] {
                for (std::size_t index = 0; index < folderSize; ++index) {
                    storage.doMoveFile(sources[index], destinations[index],
                                       ReplacementPolicy::RefuseExisting);
                }
            },
            [&storage, sources, destinations] {
                requireThat(countOfFiles(storage, sources) == 0, "moved files are still at their old paths");
                requireThat(countOfFiles(storage, destinations) == folderSize, "moved files are lost");
            }};
}

/// Moves a folder with 10 folders of 100 files. Counted per entry below the folder.
Measurement moveFolder(const IProvider& storage) {
    constexpr unsigned long moves = 10;
    constexpr unsigned folders = 10;
    constexpr unsigned filesPerFolder = 100;
    std::vector<StorageIRI> places;
    for (unsigned long place = 0; place <= moves; ++place) {
        places.emplace_back(fmt::format(u"/project-{:02}", place));
    }
    storage.doCreateFolder(places.front());
    for (unsigned folder = 0; folder < folders; ++folder) {
        createdFiles(storage, fmt::format(u"{}/folder-{:02}", places.front().getPath(), folder),
                     filesPerFolder);
    }
    return {moves * (folders + folders * filesPerFolder),
            [&storage, places] {
                for (unsigned long place = 0; place < moves; ++place) {
                    storage.doMoveFolder(places[place], places[place + 1], ReplacementPolicy::RefuseExisting);
                }
            },
            [&storage, places] {
                requireThat(storage.doListAllRecursiveNamesOnly(places.back()).size() ==
                                folders + folders * filesPerFolder,
                            "the moved folder has lost entries");
            }};
}

Measurement attributesOf(const IProvider& storage, const Scattered& files) {
    const auto writable = std::make_shared<unsigned long>(0);
    return {files.size(),
            [&storage, files, writable] {
                for (const auto& file : files) {
                    *writable += storage.doGetFileAttributes(file).isWritable() ? 1 : 0;
                }
            },
            [writable, count = files.size()] {
                requireThat(*writable == count, "only ", *writable, " of ", count, " files are writable");
            }};
}

/// Looks up files in a folder of 10,000 files.
Measurement fileAttributes(const IProvider& storage) {
    return attributesOf(storage, createdFiles(storage, u"/files", folderSize));
}

Measurement fileAttributesInTree(const IProvider& storage) {
    const Scattered files = scatteredInTree(storage);
    createFiles(storage, files);
    return attributesOf(storage, files);
}

/// Looks up missing names in a folder of 10,000 files.
Measurement missingFile(const IProvider& storage) {
    createdFiles(storage, u"/files", folderSize);
    const Scattered missing = scattered(
        folderSize, [](unsigned number) { return fmt::format(u"/files/document-{:05}.old", number); });
    const auto found = std::make_shared<unsigned long>(folderSize);
    return {folderSize, [&storage, missing, found] { *found = countOfFiles(storage, missing); },
            [found] { requireThat(*found == 0, *found, " missing files were found"); }};
}

/// Lists a folder of 1,000 files. Counted per entry.
Measurement listFolder(const IProvider& storage) {
    constexpr unsigned long listings = 20;
    constexpr unsigned entries = 1000;
    const StorageIRI folder(u"/files");
    const Scattered files = createdFiles(storage, folder.getPath(), entries);
    const auto length = std::make_shared<std::size_t>(0);
    return {listings * entries,
            [&storage, folder, length] {
                for (unsigned long turn = 0; turn < listings; ++turn) {
                    const auto listing = storage.doListAll(folder);
                    while (listing->hasNext()) {
                        listing->step();
                        *length += listing->getEntry().getName().size();
                    }
                }
            },
            [length,
             expected = listings * entries * (files.front().getPath().size() - folder.getPath().size() - 1)] {
                requireThat(*length == expected, "the names listed are ", *length, " long, not ", expected);
            }};
}

constexpr ByteStreamOpenOptions existing{.existence = ByteStreamExistence::MustExist};

using Block = std::array<char, 4096>;

constexpr Block blockOf(char content) {
    Block block{};
    block.fill(content);
    return block;
}

/// Creates 1,000 files of one block each.
Scattered createFilled(const IProvider& storage, const Block& content) {
    createFolder(storage, u"/files");
    Scattered files = scatteredFiles(u"/files", 1000);
    for (const auto& file : files) {
        storage.doOpenStream(file, {})->write(content.data(), std::ssize(content));
    }
    return files;
}

/// Opens a file, reads its 4 KiB and closes it.
Measurement readFile(const IProvider& storage) {
    constexpr char content = 7;
    const Scattered files = createFilled(storage, blockOf(content));
    const auto sum = std::make_shared<long>(0);
    return {files.size(),
            [&storage, files, sum] {
                Block block;
                for (const auto& file : files) {
                    block.back() = 0;
                    *sum += storage.doOpenReadOnlyStream(file)->read(block.data(), std::ssize(block));
                    *sum += block.back();
                }
            },
            [sum, expected = std::ssize(files) * (std::ssize(Block()) + content)] {
                requireThat(*sum == expected, "bytes read and last bytes sum up to ", *sum, ", not ",
                            expected);
            }};
}

/// Opens a file, overwrites its 4 KiB and closes it.
Measurement overwriteFile(const IProvider& storage) {
    const Scattered files = createFilled(storage, blockOf('a'));
    return {
        files.size(),
        [&storage, files] {
            const Block block = blockOf('b');
            for (const auto& file : files) {
                storage.doOpenStream(file, existing)->write(block.data(), std::ssize(block));
            }
        },
        [&storage, files] {
            Block block;
            for (const auto& file : files) {
                const auto size = storage.doOpenReadOnlyStream(file)->read(block.data(), std::ssize(block));
                requireThat(size == std::ssize(block) && block == blockOf('b'), "a file was not overwritten");
            }
        }};
}

/// Writes 64 bytes at a time through one stream at the end of a file. It grows from empty to 6.4 MB. The
/// count includes the cost of reallocation.
template <ByteStreamAppend Mode>
Measurement append(const IProvider& storage) {
    constexpr unsigned appends = 100'000;
    constexpr long recordSize = 64;
    const StorageIRI file(u"/log");
    storage.doCreateFile(file);
    const std::shared_ptr<ByteStream> log = storage.doOpenStream(file, {.append = Mode});
    return {appends,
            [log] {
                const Block block = blockOf('b');
                for (unsigned turn = 0; turn < appends; ++turn) {
                    log->write(block.data(), recordSize);
                }
            },
            [&storage, file] {
                const auto size = storage.doGetFileAttributes(file).getSize();
                requireThat(size == appends * recordSize, "the file has ", size, " bytes");
            }};
}

} // namespace

const std::map<std::string, Preparation*> preparations{
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
