#pragma once

#include "host/console/Console.h"
#include "host/session/ImportLog.h"
#include "host/session/KeptAttributes.h"
#include "host/storage/StoragePath.h"
#include "host/support/Interruption.h"
#include "host/support/Umask.h"
#include "hostapi/storage/provider/IProvider.h"

#include <optional>
#include <string>
#include <string_view>

namespace storage::host {

/// What the commands of one session share: the storage, the current folder, the imports made so far, and the
/// ways to talk to the user and to hear that the user wants to stop.
///
/// Borrows provider, console and interruption. The current folder need not exist any more.
/// Thread safety: one object is for one thread.
class Session {
public:
    using IProvider = foundation::storage::provider::IProvider;

    Session(const IProvider& provider, Console& console, const Interruption& interruption)
        : provider_(provider), console_(console), interruption_(interruption) {}

    const IProvider& provider() const noexcept { return provider_; }
    Console& console() const noexcept { return console_; }
    const Interruption& interruption() const noexcept { return interruption_; }
    ImportLog& imports() noexcept { return imports_; }
    KeptAttributes& kept() noexcept { return kept_; }

    const StoragePath& currentFolder() const noexcept { return currentFolder_; }
    void setCurrentFolder(const StoragePath& folder) { currentFolder_ = folder; }

    /// Lets commands read the standard input. Without this call the lines of the session come from there.
    /// @param descriptor  borrowed
    void setInput(int descriptor) noexcept { input_ = descriptor; }
    std::optional<int> input() const noexcept { return input_; }

    /// No further command line is to be read.
    void end() noexcept { ended_ = true; }
    bool ended() const noexcept { return ended_; }

    /// The path that a word of a command names.
    /// @throws CommandError when the word is empty
    StoragePath resolve(std::string_view word) const;

private:
    const IProvider& provider_;
    Console& console_;
    const Interruption& interruption_;
    StoragePath currentFolder_;
    ImportLog imports_;
    KeptAttributes kept_ = KeptAttributes::ofUmask(currentUmask());
    std::optional<int> input_;
    bool ended_ = false;
};

} // namespace storage::host
