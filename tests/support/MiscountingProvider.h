#pragma once

#include "tests/support/HookedProvider.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

/// A provider whose streams can be made to return wrong counts.
class MiscountingProvider final : public HookedProvider {
public:
    /// The count that is returned instead of the count asked for. Not more bytes than that are really moved.
    using Count = std::function<long(long)>;

    static long right(long count) { return count; }

    using HookedProvider::HookedProvider;

    Count written = right; ///< by writes
    Count copied = right;  ///< by reads

    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return std::make_unique<Stream>(HookedProvider::doOpenStream(iri, options), *this);
    }
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return std::make_unique<Stream>(HookedProvider::doOpenReadOnlyStream(iri), *this);
    }

private:
    class Stream final : public ByteStream {
    public:
        Stream(std::unique_ptr<ByteStream> inner, const MiscountingProvider& provider)
            : inner_(std::move(inner)), provider_(provider) {}

        long read(char* buffer, long count) override {
            const long wanted = provider_.copied(count);
            if (wanted <= 0) {
                return wanted;
            }
            const long moved = inner_->read(buffer, std::min(wanted, count));
            return wanted > count ? wanted : moved;
        }
        long write(const char* buffer, long count) override {
            const long wanted = provider_.written(count);
            if (wanted > 0) {
                inner_->write(buffer, std::min(wanted, count));
            }
            return wanted;
        }
        std::streampos seek(long offset, std::ios_base::seekdir direction) override {
            return inner_->seek(offset, direction);
        }
        void flush() override { inner_->flush(); }

    private:
        std::unique_ptr<ByteStream> inner_;
        const MiscountingProvider& provider_;
    };
};
