#pragma once

#include "benchmarks/core_operations/Measurement.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

// Each function fills an empty storage and prepares the operation to be counted. The order of the entries is
// random and the same in every run, so that no operation profits from cached neighbors.

namespace storage::core_operations {

using provider::IProvider;

/// Creates 10,000 files in a folder with 10,000 others.
Measurement createFile(const IProvider& storage);
/// Creates 10,000 files in 100 folders. The paths have 60 code units and a long common prefix.
Measurement createFileInTree(const IProvider& storage);
/// Removes 10,000 of 20,000 files from a folder.
Measurement removeFile(const IProvider& storage);
/// Moves the 10,000 files of a folder to another with 10,000 others.
Measurement moveFile(const IProvider& storage);
/// Moves a folder with 10 folders of 100 files. Counted per entry below the folder.
Measurement moveFolder(const IProvider& storage);

/// Looks up files in a folder of 10,000 files.
Measurement fileAttributes(const IProvider& storage);
/// Looks up files in 100 folders of 100 files. The paths have 60 code units and a long common prefix.
Measurement fileAttributesInTree(const IProvider& storage);
/// Looks up missing names in a folder of 10,000 files.
Measurement missingFile(const IProvider& storage);
/// Lists a folder of 1,000 files. Counted per entry.
Measurement listFolder(const IProvider& storage);

/// Opens a file, reads its 4 KiB and closes it.
Measurement readFile(const IProvider& storage);
/// Opens a file, overwrites its 4 KiB and closes it.
Measurement overwriteFile(const IProvider& storage);
/// Appends 64 bytes at a time through one stream to an empty file.
Measurement appendToFile(const IProvider& storage);
/// The same through a stream that writes at its position, which is always the end.
Measurement appendAtPosition(const IProvider& storage);

} // namespace storage::core_operations
