#pragma once

#include "host/console/Console.h"
#include "host/session/SessionStorage.h"
#include "host/storage/StoragePath.h"
#include "host/support/Interruption.h"
#include "hostapi/storage/provider/IProvider.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

/// What the commands of one session share: the storages, the current folder, and the ways to talk to the user and to
/// hear that the user wants to stop.
///
/// A session has one storage without a name, or one or more with names. Where storages have names, a word selects one by
/// a prefix: NAME:/path. The prefix is what is before the first colon, if no slash is before that colon. So ./NAME:x and
/// /NAME:x are paths of the current storage, and so is every word of a session without names. What is behind the prefix
/// starts at the root of the storage. The current folder is a path of the current storage; the first storage is current
/// at the beginning.
///
/// A path knows its storage (StoragePath), so commands ask for the provider and the records of a path. Only a session with
/// several storages shows their names: in paths, messages and the prompt.
///
/// Owns the storages; borrows providers, console and interruption. Invariant: there is at least one storage. The current
/// folder need not exist any more.
/// Thread safety: one object is for one thread.
class Session {
public:
    using IProvider = foundation::storage::provider::IProvider;
    using Storages = std::vector<std::unique_ptr<SessionStorage>>;

    /// A provider with the name of its storage.
    struct NamedProvider {
        std::string name; ///< empty only if it is the only one
        const IProvider& provider;
    };

    /// A session with one storage, which has no name.
    Session(const IProvider& provider, Console& console, const Interruption& interruption)
        : Session(std::vector<NamedProvider>{{"", provider}}, console, interruption) {}

    /// @param providers  one or more, whose names differ
    Session(const std::vector<NamedProvider>& providers, Console& console, const Interruption& interruption);

    const Storages& storages() const noexcept { return storages_; }

    // Of the storage that a path is in. The path is one of this session.
    SessionStorage& storageOf(const StoragePath& path) const;
    const IProvider& provider(const StoragePath& path) const { return storageOf(path).provider(); }
    ImportLog& imports(const StoragePath& path) const { return storageOf(path).imports(); }
    KeptAttributes& kept(const StoragePath& path) const { return storageOf(path).kept(); }

    Console& console() const noexcept { return console_; }
    const Interruption& interruption() const noexcept { return interruption_; }

    const StoragePath& currentFolder() const noexcept { return currentFolder_; }
    void setCurrentFolder(const StoragePath& folder) { currentFolder_ = folder; }

    /// Lets commands read the standard input. Without this call the lines of the session come from there.
    /// @param descriptor  borrowed
    void setInput(int descriptor) noexcept { input_ = descriptor; }
    std::optional<int> input() const noexcept { return input_; }

    /// No further command line is to be read.
    void end() noexcept { ended_ = true; }
    bool ended() const noexcept { return ended_; }

    /// How many bytes of a word select the storage, the colon included; 0 if the word is a path of the current one. There
    /// need not be such a storage.
    std::size_t prefixLength(std::string_view word) const noexcept;

    /// The path that a word of a command names.
    /// @throws CommandError when the word is empty or selects a storage that does not exist
    StoragePath resolve(std::string_view word) const;

    /// Runs one step of a command for the path that a word names, as Console::attempt does. Failures of the storage in it
    /// are those of the path's storage.
    void attempt(const std::string& word, const std::function<void(const StoragePath& path)>& step);

private:
    const SessionStorage& selected(std::string_view word, std::string_view name) const;

    static Storages makeStorages(const std::vector<NamedProvider>& providers);

    Storages storages_; ///< paths and diagnoses refer to them
    Console& console_;
    const Interruption& interruption_;
    StoragePath currentFolder_;
    std::optional<int> input_;
    bool ended_ = false;
};

} // namespace storage::host
