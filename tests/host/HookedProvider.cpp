#include "tests/host/HookedProvider.h"

class HookedProvider::HookedStream final : public ByteStream {
public:
    HookedStream(std::unique_ptr<ByteStream> inner, const HookedProvider& provider)
        : inner_(std::move(inner)), provider_(provider) {}

    long read(char* buffer, long count) override {
        provider_.beforeRead();
        return inner_->read(buffer, count);
    }
    long write(const char* buffer, long count) override {
        provider_.beforeWrite();
        return inner_->write(buffer, count);
    }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        return inner_->seek(offset, direction);
    }
    void flush() override { inner_->flush(); }

private:
    std::unique_ptr<ByteStream> inner_;
    const HookedProvider& provider_;
};

std::unique_ptr<foundation::storage::provider::ByteStream>
HookedProvider::doOpenStream(const StorageIRI& iri,
                             const foundation::storage::provider::ByteStreamOpenOptions& options) const {
    return std::make_unique<HookedStream>(inner_->doOpenStream(iri, options), *this);
}

std::unique_ptr<foundation::storage::provider::ByteStream>
HookedProvider::doOpenReadOnlyStream(const StorageIRI& iri) const {
    return std::make_unique<HookedStream>(inner_->doOpenReadOnlyStream(iri), *this);
}
