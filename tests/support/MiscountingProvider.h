#pragma once

#include "tests/support/ForwardingStream.h"
#include "tests/support/HookedProvider.h"

#include <algorithm>
#include <functional>
#include <ios>
#include <memory>
#include <utility>

/// A provider with streams that return wrong counts and positions on request.
class MiscountingProvider final : public HookedProvider {
public:
    /// Maps a requested count to the returned one. The stream never transfers more bytes than requested.
    using Count = std::function<long(long)>;

    /// Maps the stream's position to the returned one.
    using Position = std::function<std::streamoff(std::streamoff)>;

    static long right(long count) { return count; }

    using HookedProvider::HookedProvider;

    Count written = right; ///< applied to writes
    Count copied = right;  ///< applied to reads
    Position sought = right;

    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return std::make_unique<Stream>(HookedProvider::doOpenStream(iri, options), *this);
    }
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return std::make_unique<Stream>(HookedProvider::doOpenReadOnlyStream(iri), *this);
    }

private:
    class Stream final : public ForwardingStream {
    public:
        Stream(std::unique_ptr<ByteStream> inner, const MiscountingProvider& provider)
            : ForwardingStream(std::move(inner)), provider_(provider) {}

        long read(char* buffer, long count) override {
            const long wanted = provider_.copied(count);
            if (wanted <= 0) {
                return wanted;
            }
            const long moved = inner().read(buffer, std::min(wanted, count));
            return wanted > count ? wanted : moved;
        }
        long write(const char* buffer, long count) override {
            const long wanted = provider_.written(count);
            if (wanted > 0) {
                inner().write(buffer, std::min(wanted, count));
            }
            return wanted;
        }
        std::streampos seek(long offset, std::ios_base::seekdir direction) override {
            return provider_.sought(inner().seek(offset, direction));
        }

    private:
        const MiscountingProvider& provider_;
    };
};
