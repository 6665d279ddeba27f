#pragma once

#include "hostapi/storage/provider/ByteStream.h"

#include <memory>
#include <utility>

namespace faults {

/// A stream that forwards to another one, which it owns; what derives from it breaks one rule.
class BrokenStream : public foundation::storage::provider::ByteStream {
public:
    using ByteStream = foundation::storage::provider::ByteStream;

    explicit BrokenStream(std::unique_ptr<ByteStream> sound) : sound_(std::move(sound)) {}

    long read(char* buffer, long count) override { return sound_->read(buffer, count); }
    long write(const char* buffer, long count) override { return sound_->write(buffer, count); }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        return sound_->seek(offset, direction);
    }
    void flush() override { sound_->flush(); }

protected:
    ByteStream& sound() { return *sound_; }

private:
    std::unique_ptr<ByteStream> sound_;
};

} // namespace faults
