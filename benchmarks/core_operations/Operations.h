#pragma once

#include "benchmarks/core_operations/Measurement.h"
#include "hostapi/storage/provider/IProvider.h"

// Each of these fills the empty storage and makes ready what is to be counted there. The order in which entries are
// taken is random and the same in every run, so that nothing gains from neighbours that were used just before.

namespace storage::core_operations {

using foundation::storage::provider::IProvider;

/// Makes 10,000 files in a folder that holds 10,000 others.
Measurement createFile(const IProvider& storage);
/// Takes 10,000 of the 20,000 files out of a folder.
Measurement removeFile(const IProvider& storage);
/// Moves the 10,000 files of one folder to another that holds 10,000 others.
Measurement moveFile(const IProvider& storage);
/// Moves a folder with 10 folders of 100 files; one operation is one entry below the folder.
Measurement moveFolder(const IProvider& storage);

/// In a folder of 10,000 files.
Measurement fileAttributes(const IProvider& storage);
/// In 100 folders of 100 files, whose paths of 60 code units begin alike.
Measurement fileAttributesInTree(const IProvider& storage);
/// Asks for names that are not among the 10,000 files of a folder.
Measurement missingFile(const IProvider& storage);
/// Lists a folder of 1,000 files; one operation is one entry.
Measurement listFolder(const IProvider& storage);

/// Opens a file, reads its 4 KiB, and lets go of it.
Measurement readFile(const IProvider& storage);
/// Opens a file, overwrites its 4 KiB, and lets go of it.
Measurement overwriteFile(const IProvider& storage);
/// Appends 64 bytes, again and again through one stream, to a file that was empty.
Measurement appendToFile(const IProvider& storage);

} // namespace storage::core_operations
