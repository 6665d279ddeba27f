#pragma once

#include "tests/support/HookedProvider.h"

#include <memory>

/// A provider with limits on the entries created and the bytes written. Beyond them it throws std::bad_alloc.
/// Removing entries does not raise the limits again, which bounds the time and the memory of every script,
/// also of one that keeps doubling its files.
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
