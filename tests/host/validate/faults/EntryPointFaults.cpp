#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace faults {

using namespace foundation::storage::provider;
using storage::inmemoryprovider::buildInMemoryProvider;

namespace entry_point_faults {
namespace {

using Owner = std::shared_ptr<IProvider>;

Owner buildNone() {
    return nullptr;
}

/// Returns the same provider to all callers.
Owner buildSameAgain() {
    static const Owner only = buildInMemoryProvider();
    return only;
}

/// Keeps every provider alive.
Owner buildRemembered() {
    static std::vector<Owner> all;
    return all.emplace_back(buildInMemoryProvider());
}

/// Keeps the most recent provider alive.
Owner buildLastRemembered() {
    static Owner last;
    Owner provider = buildInMemoryProvider();
    last = provider;
    return provider;
}

/// Empties the storage of the previous provider.
Owner buildTakingOver() {
    static std::weak_ptr<IProvider> before;
    if (const Owner old = before.lock()) {
        old->doRemoveFolderRecursively(StorageIRI(u"/"));
    }
    Owner provider = buildInMemoryProvider();
    before = provider;
    return provider;
}

/// Creates a folder in a new storage.
Owner buildWithFolder() {
    Owner provider = buildInMemoryProvider();
    provider->doCreateFolder(StorageIRI(u"/lost+found"));
    return provider;
}

/// Creates several providers that share one storage.
Owner buildSharing() {
    static const Owner storage = buildInMemoryProvider();
    return std::make_shared<HookedProvider>(storage);
}

/// Throws for unknown features.
class UnknownFeatureThrows final : public BrokenProvider {
public:
    bool doHasFeature(const ExtendedFeature& feature) const override {
        if (feature != ExtendedFeature::VolatileStorage) {
            throw Exception(ErrorCode::NotOffered, StorageIRI(u"/"));
        }
        return true;
    }
};

/// Claims every feature.
class EveryFeatureClaimed final : public BrokenProvider {
public:
    bool doHasFeature(const ExtendedFeature&) const override { return true; }
};

/// Refuses to shut down.
class ShutdownRefused final : public BrokenProvider {
public:
    void doShutdown() override { throw Exception(ErrorCode::NotOffered, StorageIRI(u"/")); }
};

/// Returns listings that end when the provider is destroyed.
class ListingNeedsProvider final : public BrokenProvider {
public:
    Listing doListAll(const StorageIRI& iri) const override {
        return std::make_unique<Asking>(sound().doListAll(iri), lives_);
    }

private:
    class Asking final : public IFolderEntryIterator {
    public:
        Asking(Listing inner, std::weak_ptr<bool> lives)
            : inner_(std::move(inner)), lives_(std::move(lives)) {}

        FolderEntry getEntry() const override { return inner_->getEntry(); }
        bool hasNext() const override { return !lives_.expired() && inner_->hasNext(); }
        void step() override { inner_->step(); }
        Listing clone() const override { return std::make_unique<Asking>(inner_->clone(), lives_); }

    private:
        Listing inner_;
        std::weak_ptr<bool> lives_;
    };

    std::shared_ptr<bool> lives_ = std::make_shared<bool>(true);
};

/// Prints debug output.
class Prints final : public BrokenProvider {
public:
    Prints() {
        before = [](const char* operation, const StorageIRI&) { std::fprintf(stderr, "%s\n", operation); };
    }
};

/// Keeps a file open while the provider exists.
class KeepsFileOpen final : public BrokenProvider {
public:
    KeepsFileOpen() : file_(::open("/dev/null", O_RDONLY | O_CLOEXEC)) {}
    KeepsFileOpen(const KeepsFileOpen&) = delete;
    KeepsFileOpen& operator=(const KeepsFileOpen&) = delete;
    ~KeepsFileOpen() override { ::close(file_); }

private:
    int file_;
};

/// Starts a thread.
class StartsThread final : public BrokenProvider {
public:
    StartsThread() : thread_([this] { over_.wait(false); }) {}
    StartsThread(const StartsThread&) = delete;
    StartsThread& operator=(const StartsThread&) = delete;
    ~StartsThread() override {
        over_ = true;
        over_.notify_all();
        thread_.join();
    }

private:
    std::atomic<bool> over_ = false;
    std::thread thread_;
};

/// Prevents the library from being unloaded.
Owner buildStaying() {
    Dl_info self{};
    ::dladdr(reinterpret_cast<void*>(&buildStaying), &self);
    ::dlopen(self.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
    return buildInMemoryProvider();
}

/// Builds a correct provider. The fault is in the entry point of the broken plug-in, which does not check its
/// pointer.
Owner buildInMemory() {
    return buildInMemoryProvider();
}

/// A plug-in's own exception class.
class DetailedRefusal final : public Exception {
public:
    using Exception::Exception;
};

class RefusesInDetail final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        try {
            HookedProvider::doRemoveFolder(iri);
        } catch (const Exception& failure) {
            throw DetailedRefusal(failure.getErrorCode(), iri);
        }
    }
};

constexpr std::array table{
    Fault{"NoProvider", "1.1", buildNone},
    Fault{"SameAgain", "1.2", buildSameAgain},
    Fault{"EveryProviderRemembered", "1.3", buildRemembered},
    Fault{"TakesStorageOver", "1.4", buildTakingOver},
    Fault{"LastProviderRemembered", "1.5", buildLastRemembered},
    Fault{"StoresWithoutLooking", "1.6", buildInMemory},
    Fault{"BeginsWithFolder", "1.7", buildWithFolder},
    Fault{"OneStorageForAll", "1.8", buildSharing},
    Fault{"UnknownFeatureThrows", "1.9", build<UnknownFeatureThrows>},
    Fault{"EveryFeatureClaimed", "1.10", build<EveryFeatureClaimed>},
    Fault{"ShutdownRefused", "1.11", build<ShutdownRefused>},
    Fault{"ListingNeedsProvider", "1.12", build<ListingNeedsProvider>},
    Fault{"Prints", "1.13", build<Prints>},
    Fault{"KeepsFileOpen", "1.14", build<KeepsFileOpen>},
    Fault{"StartsThread", "1.15", build<StartsThread>},
    Fault{"StaysLoaded", "1.16", buildStaying},
    Fault{"RefusesInDetail", "1.17", build<RefusesInDetail>},
};

} // namespace
} // namespace entry_point_faults

std::span<const Fault> entryPoint() {
    return entry_point_faults::table;
}

} // namespace faults
