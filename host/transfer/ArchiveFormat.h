#pragma once

#include <optional>
#include <string_view>

namespace storage::host {

/// The format of an archive to write. A value.
struct ArchiveFormat {
    enum class Container { Tar, Zip, Cpio };
    enum class Compression { None, Gzip, Bzip2, Xz, Zstd, Lz4, Lzma, Lzip, Compress };

    Container container = Container::Tar;
    Compression compression = Compression::None; ///< of the whole archive; zip compresses each entry itself

    /// The format for the extension of a file name, such as ".tar.zst" or ".zip"; nothing for other names.
    static std::optional<ArchiveFormat> ofName(std::string_view name);
};

} // namespace storage::host
