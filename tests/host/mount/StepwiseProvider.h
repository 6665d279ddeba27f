#pragma once

#include "tests/support/HookedProvider.h"

/// A provider that moves folders in steps which a hook can stop: the new folder is made, what the old one holds is
/// moved, the old one is removed. So a move may end midway, as it may in every storage.
class StepwiseProvider : public HookedProvider {
public:
    using HookedProvider::HookedProvider;

    void doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override;
};
