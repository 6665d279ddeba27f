#include "host/transfer/ArchiveFormat.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>

namespace storage::host {

namespace {

using Compression = ArchiveFormat::Compression;
using Container = ArchiveFormat::Container;

struct CompressionEnding {
    std::string_view ending;
    std::string_view shortTar; ///< short for ".tar" with this extension
    Compression compression;
};

constexpr std::array compressionEndings{
    CompressionEnding{".gz", ".tgz", Compression::Gzip},
    CompressionEnding{".bz2", ".tbz2", Compression::Bzip2},
    CompressionEnding{".xz", ".txz", Compression::Xz},
    CompressionEnding{".zst", ".tzst", Compression::Zstd},
    CompressionEnding{".lz4", ".tlz4", Compression::Lz4},
    CompressionEnding{".lzma", ".tlz", Compression::Lzma},
    CompressionEnding{".lz", ".tar.lz", Compression::Lzip},
    CompressionEnding{".z", ".taz", Compression::Compress},
};

std::optional<Container> containerOf(std::string_view name) {
    if (name.ends_with(".tar")) {
        return Container::Tar;
    }
    return name.ends_with(".cpio") ? std::optional(Container::Cpio) : std::nullopt;
}

} // namespace

std::optional<ArchiveFormat> ArchiveFormat::ofName(std::string_view name) {
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char character) {
        return static_cast<char>(character < 0x80 ? std::tolower(character) : character);
    });
    if (lower.ends_with(".zip")) {
        return ArchiveFormat{Container::Zip, Compression::None};
    }
    if (const auto container = containerOf(lower)) {
        return ArchiveFormat{*container, Compression::None};
    }
    for (const CompressionEnding& known : compressionEndings) {
        if (lower.ends_with(known.shortTar)) {
            return ArchiveFormat{Container::Tar, known.compression};
        }
        const auto container =
            lower.ends_with(known.ending)
                ? containerOf(std::string_view(lower).substr(0, lower.size() - known.ending.size()))
                : std::nullopt;
        if (container) {
            return ArchiveFormat{*container, known.compression};
        }
    }
    return std::nullopt;
}

} // namespace storage::host
