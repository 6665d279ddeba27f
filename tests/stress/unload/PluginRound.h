#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace storage::stress {

/// Loads a plug-in, uses it, destroys its objects and unloads it. Exceptions are kept and checked after that.
///
/// Owns the plug-in's objects. Not thread-safe; several rounds may run at the same time.
class PluginRound {
public:
    /// @param plugin  path of the library
    explicit PluginRound(std::string plugin) : plugin_(std::move(plugin)) {}

    /// @throws Violation
    void run();

private:
    using ByteStream = provider::ByteStream;
    using IFolderEntryIterator = provider::IFolderEntryIterator;
    using IProvider = provider::IProvider;

    void loadUseAndUnload();
    void buildTree(const IProvider& provider);
    void useDefaultOperations(const IProvider& provider);
    void holdStreamsAndListings(const IProvider& provider);
    void collectFailures(const IProvider& provider);
    void useStreamsAndListings();
    void expectKeptFailures() const;

    void keepFailure(const char* text, const std::function<void()>& operation);

    struct KeptFailure {
        std::exception_ptr exception;
        std::string text;
    };

    std::string plugin_;
    std::vector<std::unique_ptr<ByteStream>> streams_;
    std::vector<std::unique_ptr<IFolderEntryIterator>> listings_;
    std::vector<KeptFailure> failures_;
};

} // namespace storage::stress
