#pragma once

#include "host/console/Console.h"
#include "host/session/SessionStorage.h"
#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

/// The state that the commands of a session share: the storages, the current folder and the console.
///
/// A session has one storage without a name, or one or more with names. An operand selects a named storage
/// with a prefix: NAME:/path. The name is the text before the first colon, unless it contains a slash. Thus
/// ./NAME:x and /NAME:x are paths in the current storage, and so is every operand of a session without names.
/// The path after the prefix starts at the root of the storage. The current storage is that of the current
/// folder, which is at first the root of the first storage.
///
/// A path identifies its storage, so commands look up the provider and the records of a path. The names of
/// storages are displayed only in a session with several: in paths, messages and the prompt.
///
/// Owns the storages; borrows providers and console. Invariant: there is at least one storage. The current
/// folder may have been removed. Not thread-safe.
class Session {
public:
    using IProvider = provider::IProvider;
    using Storages = std::vector<std::unique_ptr<SessionStorage>>;

    /// A provider and the name of its storage.
    struct NamedProvider {
        std::string name; ///< may be empty if there is only one storage
        const IProvider& provider;
    };

    /// Creates a session with one storage, without a name.
    Session(const IProvider& provider, Console& console)
        : Session(std::vector<NamedProvider>{{"", provider}}, console) {}

    /// @param providers  one or more, with different names
    Session(const std::vector<NamedProvider>& providers, Console& console);

    const Storages& storages() const noexcept { return storages_; }

    // The storage that contains a path, its provider and its records. Precondition: the path belongs to this
    // session.
    SessionStorage& storageOf(const StoragePath& path) const;
    const IProvider& provider(const StoragePath& path) const { return storageOf(path).provider(); }
    ImportLog& imports(const StoragePath& path) const { return storageOf(path).imports(); }
    KeptAttributes& kept(const StoragePath& path) const { return storageOf(path).kept(); }

    Console& console() const noexcept { return console_; }

    const StoragePath& currentFolder() const noexcept { return currentFolder_; }
    void setCurrentFolder(const StoragePath& folder) { currentFolder_ = folder; }

    /// Lets commands read standard input. Without this call, the session reads its lines from there.
    /// @param descriptor  borrowed
    void setInput(int descriptor) noexcept { input_ = descriptor; }
    std::optional<int> input() const noexcept { return input_; }

    /// Ends the session: no further line is read.
    void end() noexcept { ended_ = true; }
    bool ended() const noexcept { return ended_; }

    /// Length of the prefix that selects a storage, in bytes, including the colon; 0 if `word` is a path in
    /// the current storage. The selected storage need not exist.
    std::size_t prefixLength(std::string_view word) const noexcept;

    /// Resolves an operand to a path.
    /// @throws CommandError when the word is empty or selects a storage that does not exist
    StoragePath resolve(std::string_view word) const;

    /// Resolves an operand and runs one step of a command for its path, as Console::attempt does. Failures
    /// are described by the diagnosis of the path's storage.
    void attempt(const std::string& word, const std::function<void(const StoragePath& path)>& step);

private:
    const SessionStorage& selected(std::string_view word, std::string_view name) const;

    static Storages makeStorages(const std::vector<NamedProvider>& providers);

    Storages storages_; ///< referenced by diagnoses, so they never move
    Console& console_;
    StoragePath currentFolder_;
    std::optional<int> input_;
    bool ended_ = false;
};

} // namespace storage::host
