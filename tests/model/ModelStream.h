#pragma once

#include "hostapi/storage/provider/ByteStreamAppend.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <ios>
#include <memory>
#include <string>
#include <string_view>

namespace storage::inmemoryprovider::tests {

/// An open file of the model. It shares its bytes with the tree and with other streams, and has its own
/// position.
class ModelStream {
public:
    ModelStream(std::shared_ptr<std::string> bytes, provider::ByteStreamAppend append);

    /// The bytes read; empty if the provider returns -1. A negative count reads to the end.
    std::string read(long count);

    /// Writes all of `data`. An empty `data` also represents a negative count.
    void write(std::string_view data);

    /// The new position, or -1.
    long seek(long offset, std::ios_base::seekdir direction);

    const std::shared_ptr<std::string>& bytes() const { return bytes_; }
    bool isPastEnd() const { return position_ > size(); }

private:
    long size() const { return static_cast<long>(bytes_->size()); }

    std::shared_ptr<std::string> bytes_;
    provider::ByteStreamAppend append_;
    long position_ = 0;
};

} // namespace storage::inmemoryprovider::tests
