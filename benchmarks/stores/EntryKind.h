#pragma once

namespace storage::benchmark {

enum class EntryKind { File, Folder };

} // namespace storage::benchmark
