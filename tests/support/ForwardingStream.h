#pragma once

#include "hostapi/storage/provider/ByteStream.h"

#include <memory>
#include <utility>

/// Forwards to another stream, which it owns. Derived classes override some of the functions.
class ForwardingStream : public foundation::storage::provider::ByteStream {
public:
    using ByteStream = foundation::storage::provider::ByteStream;

    explicit ForwardingStream(std::unique_ptr<ByteStream> inner) : inner_(std::move(inner)) {}

    long read(char* buffer, long count) override { return inner_->read(buffer, count); }
    long write(const char* buffer, long count) override { return inner_->write(buffer, count); }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        return inner_->seek(offset, direction);
    }
    void flush() override { inner_->flush(); }

protected:
    ByteStream& inner() { return *inner_; }

private:
    std::unique_ptr<ByteStream> inner_;
};
