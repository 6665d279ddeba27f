#pragma once

#include "host/plugin/PluginLibrary.h"
#include "host/validate/kit/OperationTrace.h"
#include "host/validate/rules/Profile.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>

namespace storage::host {

/// What a check works with: the plug-in, a provider out of it, a folder of the storage that is the check's own, and
/// random numbers.
///
/// Owns the loaded library and the provider, and borrows the trace. The folder is made with the provider at the first use and removed at the end
/// with everything in it, so that a storage that keeps its content gets back what it had. Thread safety: `at` may be called
/// from any number of threads once it has been called; the rest is for one thread.
class CheckContext {
public:
    using IProvider = provider::IProvider;
    using StorageIRI = provider::StorageIRI;

    /// @param plugin   path of the plug-in
    /// @param profile  what the provider is to be held to
    /// @param seed     where the random numbers begin
    /// @param trace    records each call of the provider
    /// @throws PluginError
    CheckContext(const std::string& plugin, Profile profile, std::uint64_t seed, OperationTrace& trace);
    CheckContext(const CheckContext&) = delete;
    CheckContext& operator=(const CheckContext&) = delete;
    ~CheckContext();

    /// The library, for checks of loading and of the entry point.
    const PluginLibrary& library() const { return library_; }

    /// The provider that the check's folder is in.
    const IProvider& provider();

    /// The location of an entry in the check's own folder.
    /// @param path  relative, for example u"a/f"; the folder itself when empty
    StorageIRI at(std::u16string_view path);

    bool isInMemoryProvider() const { return profile_ == Profile::InMemoryProvider; }

    /// Repeatable: the seed is part of what every report tells.
    std::mt19937_64& random() { return random_; }

private:
    void makeFolder();

    PluginLibrary library_;
    Profile profile_;
    std::mt19937_64 random_;
    OperationTrace& trace_;
    std::optional<LoadedProvider> loaded_;
    std::unique_ptr<IProvider>
        provider_; ///< forwards to the loaded one; declared after it, destroyed before it
    std::u16string folder_;
};

} // namespace storage::host
