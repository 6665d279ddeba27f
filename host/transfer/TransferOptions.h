#pragma once

#include "host/session/EntrySelection.h"

#include <memory>

namespace storage::host {

/// How an import or an export is done. A value.
struct TransferOptions {
    enum class Files {
        All,
        Changed, ///< skips files that the target has with the same size and time
    };
    enum class Effect {
        Transfer,
        Print, ///< dry run: prints what would be transferred
    };
    enum class Notices { Shown, Hidden };

    std::shared_ptr<const EntrySelection> selection = std::make_shared<EntrySelection>();
    Files files = Files::All;
    Effect effect = Effect::Transfer;
    Notices notices = Notices::Shown; ///< progress, and messages that are not failures
};

} // namespace storage::host
