#pragma once

#include "host/session/ImportLog.h"
#include "host/session/KeptAttributes.h"
#include "host/storage/StoragePath.h"
#include "host/support/Failure.h"
#include "host/support/Umask.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <functional>
#include <string>

namespace storage::host {

/// One storage of a session: its provider, and the session's records about its entries.
///
/// Borrows the provider. Not thread-safe.
class SessionStorage {
public:
    using IProvider = provider::IProvider;

    /// @param name  prefix of operands that select this storage; may be empty
    /// @param root  contains the name that paths display, if any
    SessionStorage(std::string name, const IProvider& provider, const StoragePath& root);

    const std::string& name() const noexcept { return name_; }
    const IProvider& provider() const noexcept { return provider_; }
    const StoragePath& root() const noexcept { return root_; }

    ImportLog& imports() noexcept { return imports_; }
    KeptAttributes& kept() noexcept { return kept_; }
    const KeptAttributes& kept() const noexcept { return kept_; }

    /// How failures of this storage are described.
    FailureDiagnosis diagnosis() const;

    /// Runs a step that accesses no other storage. Converts its failures to CommandErrors that name this
    /// storage, whatever the console's diagnosis is.
    void attribute(const std::function<void()>& step) const;

private:
    std::string name_;
    const IProvider& provider_;
    StoragePath root_;
    ImportLog imports_;
    KeptAttributes kept_ = KeptAttributes::ofUmask(currentUmask());
};

} // namespace storage::host
