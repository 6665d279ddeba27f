#pragma once

#include "benchmarks/workload/AlignedBuffer.h"
#include "benchmarks/workload/ListingSummary.h"
#include "benchmarks/workload/PatternedBlock.h"
#include "benchmarks/workload/Timing.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace storage::benchmark {

/// A folder of files of 4 KiB, with timed and verified steps. All files are renamed once.
class FilesFolder {
public:
    FilesFolder(const std::filesystem::path& parent, std::uint32_t files);

    Timing create();
    Timing stat(std::uint32_t rounds);
    Timing list(std::uint32_t rounds);
    Timing listWithAttributes(std::uint32_t rounds);
    Timing rename();
    Timing unlink();

private:
    static constexpr std::size_t fileSize = 4096;

    void expectListed(const ListingSummary& found, std::uint32_t rounds) const;
    void expectContents();

    std::string folder_;
    std::vector<std::string> names_;
    std::vector<std::string> laterNames_;
    PatternedBlock content_{4096, fileSize};
    AlignedBuffer buffer_{fileSize};
};

} // namespace storage::benchmark
