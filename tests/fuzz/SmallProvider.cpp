#include "tests/fuzz/SmallProvider.h"

#include <new>
#include <utility>

class SmallProvider::SmallStream final : public ByteStream {
public:
    SmallStream(std::unique_ptr<ByteStream> inner, const SmallProvider& provider)
        : inner_(std::move(inner)), provider_(provider) {}

    long read(char* buffer, long count) override { return inner_->read(buffer, count); }
    long write(const char* buffer, long count) override {
        provider_.takeBytes(count);
        return inner_->write(buffer, count);
    }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        return inner_->seek(offset, direction);
    }
    void flush() override { inner_->flush(); }

private:
    std::unique_ptr<ByteStream> inner_;
    const SmallProvider& provider_;
};

void SmallProvider::doCreateFile(const StorageIRI& iri) const {
    takeEntry();
    HookedProvider::doCreateFile(iri);
}

void SmallProvider::doCreateFolder(const StorageIRI& iri) const {
    takeEntry();
    HookedProvider::doCreateFolder(iri);
}

std::unique_ptr<foundation::storage::provider::ByteStream>
SmallProvider::doOpenStream(const StorageIRI& iri,
                            const foundation::storage::provider::ByteStreamOpenOptions& options) const {
    takeEntry(); // for it may make one
    return std::make_unique<SmallStream>(HookedProvider::doOpenStream(iri, options), *this);
}

void SmallProvider::takeEntry() const {
    if (entriesLeft_ == 0) {
        throw std::bad_alloc();
    }
    --entriesLeft_;
}

void SmallProvider::takeBytes(long count) const {
    if (bytesLeft_ < count) {
        throw std::bad_alloc();
    }
    bytesLeft_ -= count;
}
