#pragma once

#include "tests/host/validate/faults/BrokenProvider.h"

#include <string>

// Helpers of the faults in moves of files and folders.
namespace faults {

using MoveOperation = void (*)(const foundation::storage::provider::IProvider& sound,
                               const foundation::storage::provider::StorageIRI& from,
                               const foundation::storage::provider::StorageIRI& to,
                               foundation::storage::provider::ReplacementPolicy policy);

/// A provider that moves files with `move`.
template <MoveOperation move>
class MovingFiles final : public BrokenProvider {
public:
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        move(sound(), from, to, policy);
    }
};

/// A provider that moves folders with `move`.
template <MoveOperation move>
class MovingFolders final : public BrokenProvider {
public:
    void doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        move(sound(), from, to, policy);
    }
};

inline foundation::storage::provider::StorageIRI
below(const foundation::storage::provider::StorageIRI& folder, const std::u16string& path) {
    return foundation::storage::provider::StorageIRI(folder.getPath() + u"/" + path);
}

inline bool isReadOnly(const foundation::storage::provider::IProvider& provider,
                       const foundation::storage::provider::StorageIRI& iri) {
    return provider.doExists(iri) && !provider.doGetExtendedAttributes(iri).writable;
}

/// Calls `action` while `iri` is writable, and restores its flag afterwards.
template <class Action>
void ignoringFlag(const foundation::storage::provider::IProvider& provider,
                  const foundation::storage::provider::StorageIRI& iri, const Action& action) {
    const bool protect = isReadOnly(provider, iri);
    if (protect) {
        provider.doSetWritable(iri, true);
    }
    action();
    if (protect && provider.doExists(iri)) {
        provider.doSetWritable(iri, false);
    }
}

/// If `action` fails with `code`, throws the exception with the location `named` instead.
template <class Action>
void naming(foundation::storage::provider::ErrorCode code,
            const foundation::storage::provider::StorageIRI& named, const Action& action) {
    try {
        action();
    } catch (const foundation::storage::provider::Exception& failure) {
        if (failure.getErrorCode() != code) {
            throw;
        }
        throw foundation::storage::provider::Exception(code, named);
    }
}

} // namespace faults
