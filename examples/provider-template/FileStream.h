#pragma once

#include "FileBytes.h"

#include <hostapi/storage/provider/ByteStream.h>
#include <hostapi/storage/provider/ByteStreamAppend.h>

#include <cstddef>
#include <ios>
#include <memory>

namespace provider_template {

/// An open file. Shares the bytes with the tree and with other streams. Owns its position.
///
/// Thread safety: each call is atomic for other streams on the file. One object is not thread-safe.
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
    std::size_t position_ = 0; ///< after the end if another stream has emptied the file
};

} // namespace provider_template
