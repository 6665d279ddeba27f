#pragma once

#include "host/plugin/PluginLibrary.h"
#include "host/validate/kit/OperationTrace.h"
#include "host/validate/rules/Check.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>

namespace storage::host {

/// The environment of one check: the plug-in, a provider that it built, a private folder in the storage, and
/// random numbers.
///
/// Owns the loaded library and the provider; borrows the trace. The first use creates the provider and the
/// folder. The destructor removes the folder with its content, so that a persistent storage is left as it
/// was. Thread safety: `at` is thread-safe after its first call has returned; everything else is not.
class CheckContext {
public:
    using IProvider = provider::IProvider;
    using StorageIRI = provider::StorageIRI;

    /// @param plugin   path of the plug-in
    /// @param profile  selects the rules that apply to the provider
    /// @param seed     seed of the random numbers
    /// @param trace    records each call of the provider
    /// @throws PluginError
    CheckContext(const std::string& plugin, Profile profile, std::uint64_t seed, const OperationTrace& trace);
    CheckContext(const CheckContext&) = delete;
    CheckContext& operator=(const CheckContext&) = delete;
    ~CheckContext();

    /// The loaded library, for checks of loading and of the entry point.
    const PluginLibrary& library() const { return library_; }

    /// The provider that contains the check's folder.
    const IProvider& provider();

    /// The location of an entry in the check's folder.
    /// @param path  relative, for example u"a/f"; the folder itself when empty
    StorageIRI at(std::u16string_view path);

    /// Removes the check's folder, then shuts the provider down and destroys it. The next use makes new ones.
    void close();

    bool isInMemoryProvider() const { return profile_ == Profile::InMemoryProvider; }

    /// Random numbers. Every report contains the seed, so they are reproducible.
    std::mt19937_64& random() { return random_; }

private:
    void makeFolder();

    PluginLibrary library_;
    Profile profile_;
    std::mt19937_64 random_;
    const OperationTrace& trace_;
    std::optional<LoadedProvider> loaded_;
    std::unique_ptr<IProvider> provider_; ///< forwards to `loaded_`, so it is destroyed before it
    std::u16string folder_;
};

} // namespace storage::host
