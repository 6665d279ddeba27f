#include "tests/fuzz/SmallProvider.h"

#include "tests/support/ForwardingStream.h"

#include <new>
#include <utility>

class SmallProvider::SmallStream final : public ForwardingStream {
public:
    SmallStream(std::unique_ptr<ByteStream> inner, const SmallProvider& provider)
        : ForwardingStream(std::move(inner)), provider_(provider) {}

    long write(const char* buffer, long count) override {
        provider_.takeBytes(count);
        return inner().write(buffer, count);
    }

private:
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
    takeEntry(); // it may create an entry
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
