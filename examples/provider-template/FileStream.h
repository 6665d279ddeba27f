#pragma once

#include "FileBytes.h"

#include <hostapi/storage/provider/ByteStream.h>
#include <hostapi/storage/provider/ByteStreamAppend.h>

#include <cstddef>
#include <ios>
#include <memory>

namespace provider_template {

/// An open file. Shares the bytes with the tree and with other streams; owns its position in them.
///
/// Thread safety: each call is one step for other streams on the file; one object is for one thread at a time.
class FileStream final : public foundation::storage::provider::ByteStream {
public:
    using ByteStreamAppend = foundation::storage::provider::ByteStreamAppend;

    FileStream(std::shared_ptr<FileBytes> file, ByteStreamAppend append);

    long read(char* buffer, long count) override;
    long write(const char* buffer, long count) override;
    std::streampos seek(long offset, std::ios_base::seekdir direction) override;
    void flush() override;

private:
    std::shared_ptr<FileBytes> file_;
    ByteStreamAppend append_;
    std::size_t position_ = 0; ///< may lie behind the end, when the file was emptied through another stream
};

} // namespace provider_template
