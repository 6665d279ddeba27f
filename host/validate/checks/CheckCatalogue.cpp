#include "host/validate/checks/CheckCatalogue.h"

#include <array>

namespace storage::host {

std::span<const CheckGroup> checkCatalogue() {
    static const std::array groups{
        CheckGroup{1, "Entry point and lifetime", checks::entryPoint()},
        CheckGroup{2, "Creating and removing", checks::creatingAndRemoving()},
        CheckGroup{3, "Existence and attributes", checks::attributes()},
        CheckGroup{4, "Paths", checks::paths()},
        CheckGroup{5, "Times", checks::times()},
        CheckGroup{6, "The writable flag", checks::writableFlag()},
        CheckGroup{7, "Opening streams", checks::openingStreams()},
        CheckGroup{8, "Reading and writing", checks::readingAndWriting()},
        CheckGroup{9, "Listings", checks::listings()},
        CheckGroup{10, "Moving files", checks::movingFiles()},
        CheckGroup{11, "Moving folders", checks::movingFolders()},
        CheckGroup{12, "Operations with a default", checks::derivedOperations()},
        CheckGroup{13, "Threads", checks::threads()},
        CheckGroup{14, "Exhausted memory", checks::exhaustedMemory()},
        CheckGroup{15, "The process", checks::process()},
        CheckGroup{16, "Defaults against models", checks::defaultsAgainstModels()},
    };
    return groups;
}

} // namespace storage::host
