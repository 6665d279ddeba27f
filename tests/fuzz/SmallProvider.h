#pragma once

#include "tests/support/HookedProvider.h"

#include <memory>

/// A provider with little room: once so many entries were made and so many bytes written, it acts as if memory were
/// exhausted. Nothing gives room back. So no script, however it doubles its files, takes long or much.
class SmallProvider final : public HookedProvider {
public:
    using HookedProvider::HookedProvider;

    void doCreateFile(const StorageIRI& iri) const override;
    void doCreateFolder(const StorageIRI& iri) const override;
    std::unique_ptr<ByteStream>
    doOpenStream(const StorageIRI& iri,
                 const foundation::storage::provider::ByteStreamOpenOptions& options) const override;

private:
    class SmallStream;

    void takeEntry() const;
    void takeBytes(long count) const;

    mutable long entriesLeft_ = 200;
    mutable long bytesLeft_ = 128L * 1024;
};
