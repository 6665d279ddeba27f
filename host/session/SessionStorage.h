#pragma once

#include "host/session/ImportLog.h"
#include "host/session/KeptAttributes.h"
#include "host/storage/StoragePath.h"
#include "host/support/Failure.h"
#include "host/support/Umask.h"
#include "hostapi/storage/provider/IProvider.h"

#include <functional>
#include <string>

namespace storage::host {

/// One storage of a session: its provider, and what the session knows of it beyond that.
///
/// Borrows the provider. Thread safety: one object is for one thread.
class SessionStorage {
public:
    using IProvider = foundation::storage::provider::IProvider;

    /// @param name  for the prefix of operands; may be empty
    /// @param root  with the name that paths are to show
    SessionStorage(std::string name, const IProvider& provider, const StoragePath& root);

    const std::string& name() const noexcept { return name_; }
    const IProvider& provider() const noexcept { return provider_; }
    const StoragePath& root() const noexcept { return root_; }

    ImportLog& imports() noexcept { return imports_; }
    KeptAttributes& kept() noexcept { return kept_; }
    const KeptAttributes& kept() const noexcept { return kept_; }

    /// How failures of this storage are described.
    FailureDiagnosis diagnosis() const;

    /// Runs a step in which no other storage can fail. Its failures become CommandErrors, which name this storage
    /// whatever diagnosis the console has.
    void attribute(const std::function<void()>& step) const;

private:
    std::string name_;
    const IProvider& provider_;
    StoragePath root_;
    ImportLog imports_;
    KeptAttributes kept_ = KeptAttributes::ofUmask(currentUmask());
};

} // namespace storage::host
