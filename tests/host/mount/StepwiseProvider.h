#pragma once

#include "tests/support/HookedProvider.h"

/// A provider that moves folders in steps: it creates the new folder, moves the content of the old folder,
/// and removes the old folder. A hook can make each step fail, so that a move ends midway.
class StepwiseProvider : public HookedProvider {
public:
    using HookedProvider::HookedProvider;

    void doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override;
};
