#pragma once

#include <optional>
#include <string_view>

namespace storage::host {

/// The format of an archive that is written. A value.
struct ArchiveFormat {
    enum class Container { Tar, Zip, Cpio };
    enum class Compression { None, Gzip, Bzip2, Xz, Zstd, Lz4, Lzma, Lzip, Compress };

    Container container = Container::Tar;
    Compression compression = Compression::None; ///< of the whole; a zip file compresses each entry

    /// The format that the name of a file promises: that of an archive by its ending, such as ".tar.zst" or ".zip".
    static std::optional<ArchiveFormat> ofName(std::string_view name);
};

} // namespace storage::host
