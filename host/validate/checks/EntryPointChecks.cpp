#include "host/disk/FileDescriptor.h"
#include "host/storage/Listing.h"
#include "host/support/SystemCall.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/checks/EveryOperation.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <array>
#include <boost/core/demangle.hpp>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <functional>
#include <limits>
#include <stdexcept>
#include <sys/mman.h>
#include <typeinfo>
#include <unistd.h>

namespace storage::host::checks {

using namespace provider;

namespace entry_point_checks {
namespace {

/// A provider as the entry point returns it, without the trace.
using Owner = std::shared_ptr<IProvider>;

Owner buildFrom(const PluginLibrary& library) {
    Owner owner;
    library.entryPoint()(&owner);
    expect(owner != nullptr, "the entry point stores no provider");
    return owner;
}

Owner build(CheckContext& context) {
    context.provider(); // otherwise the context could build its provider between two that the check builds
    return buildFrom(context.library());
}

/// Creates the folder "d" in the check's folder. First creates that folder if the provider lacks it.
StorageIRI makeFolder(CheckContext& context, const IProvider& provider) {
    if (!provider.doFolderExists(context.at(u""))) {
        provider.doCreateFolder(context.at(u""));
    }
    provider.doCreateFolder(context.at(u"d"));
    return context.at(u"d");
}

/// Uses various operations and removes everything they created.
void use(CheckContext& context, const IProvider& provider) {
    const StorageIRI folder = makeFolder(context, provider);
    const StorageIRI file = context.at(u"d/f");
    const StorageIRI moved = context.at(u"d/g");
    makeFile(provider, file, "bytes");
    provider.doMoveFile(file, moved, ReplacementPolicy::RefuseExisting);
    expect(contentOf(provider, moved) == "bytes", "a file has other bytes than were written");
    expect(sortedEntries(provider.doListAll(folder)).size() == 1,
           "the listing of a folder with one file does not have one entry");
    expectFailure([&] { provider.doRemoveFile(file); }, ErrorCode::NotFound, file, "removing a moved file");
    provider.doRemoveFolderRecursively(folder);
}

const StorageIRI root(u"/");
const StorageIRI child(u"/child");

void givesAProvider(CheckContext& context) {
    const Owner provider = buildFrom(context.library());
    expect(provider->doFolderExists(root), "the new provider has no root folder");
    use(context, *provider);
}

void newEachTime(CheckContext& context) {
    const Owner first = build(context);
    const Owner second = build(context);
    expect(first != second, "two calls of the entry point store the same provider");
}

void releasesHeldProvider(CheckContext& context) {
    Owner owner = build(context);
    const std::weak_ptr<IProvider> held = owner;
    context.library().entryPoint()(&owner);
    expect(owner != nullptr && held.expired(),
           "the provider that the pointer held still exists without an owner");
}

void leavesOtherOwners(CheckContext& context) {
    Owner owner = build(context);
    const Owner other = owner;
    const StorageIRI folder = makeFolder(context, *other);
    context.library().entryPoint()(&owner);
    expect(owner != other, "the entry point leaves the pointer unchanged");
    expect(other->doFolderExists(folder), "a provider with another owner lost its content");
}

void goesWithLastOwner(CheckContext& context) {
    Owner owner = build(context);
    use(context, *owner);
    const std::weak_ptr<IProvider> held = owner;
    owner.reset();
    expect(held.expired(), "a provider still exists without its last owner");
}

void nullPointerIsRefused(CheckContext& context) {
    try {
        context.library().entryPoint()(nullptr);
    } catch (const std::invalid_argument&) {
        return;
    }
    expect(false, "the entry point does not refuse a null pointer");
}

void newStorageIsEmpty(CheckContext& context) {
    const Owner provider = build(context);
    expect(!provider->doListAll(root)->hasNext(), "the root of a new storage is not empty");
    expect(provider->doGetFolderAttributes(root).isWritable(), "the root of a new storage is read-only");
}

void storagesAreApart(CheckContext& context) {
    Owner first = build(context);
    const Owner second = build(context);
    makeFile(*first, child, "first");
    expect(!second->doFileExists(child), "an entry of one storage is in another");
    makeFile(*second, child, "second");
    expect(contentOf(*first, child) == "first", "a file in one storage changes one in another");
    first.reset();
    expect(contentOf(*second, child) == "second", "destroying a storage changes another one");
    expect(!build(context)->doFileExists(child), "the content of a destroyed storage is in a new one");
}

constexpr std::array<std::int32_t, 10> oddNumbers{0,
                                                  1,
                                                  5,
                                                  7,
                                                  8,
                                                  255,
                                                  256,
                                                  -1,
                                                  std::numeric_limits<std::int32_t>::min(),
                                                  std::numeric_limits<std::int32_t>::max()};

void everyFeatureIsAnswered(CheckContext& context) {
    const Owner provider = build(context);
    for (const std::int32_t number : oddNumbers) {
        const auto feature = static_cast<ExtendedFeature>(number);
        expect(provider->doHasFeature(feature) == provider->doHasFeature(feature),
               fmt::format("doHasFeature returns two answers for feature {}", number));
    }
}

void volatileStorageAlone(CheckContext& context) {
    const Owner provider = build(context);
    expect(provider->doHasFeature(ExtendedFeature::VolatileStorage),
           "the provider does not claim VolatileStorage");
    for (const std::int32_t number : oddNumbers) {
        expect(!provider->doHasFeature(static_cast<ExtendedFeature>(number)),
               fmt::format("the provider claims feature {}", number));
    }
}

void shutsDown(CheckContext& context) {
    Owner provider = build(context);
    use(context, *provider);
    provider->doShutdown();
    provider.reset();
    use(context, *build(context));
}

void listingOutlivesProvider(CheckContext& context) {
    Owner provider = build(context);
    const StorageIRI folder = makeFolder(context, *provider);
    for (const char16_t* path : {u"d/a", u"d/b", u"d/c"}) {
        provider->doCreateFile(context.at(path));
    }
    auto listing = provider->doListAll(folder);
    listing->step();
    provider->doRemoveFolderRecursively(folder);
    provider.reset();
    expect(readEntries(listing->clone()).size() == 2 && readEntries(std::move(listing)).size() == 2,
           "a listing or its clone does not work after the provider is destroyed");
}

/// Captures everything that the process writes to standard output and standard error during its lifetime.
class CapturedOutput {
public:
    CapturedOutput() : file_(::memfd_create("output", MFD_CLOEXEC)) {
        std::fflush(nullptr);
        for (std::size_t i = 0; i < kept_.size(); ++i) {
            kept_[i] = ::dup(numbers[i]);
            ::dup2(file_, numbers[i]);
        }
    }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;
    ~CapturedOutput() {
        std::fflush(nullptr);
        for (std::size_t i = 0; i < kept_.size(); ++i) {
            ::dup2(kept_[i], numbers[i]);
            ::close(kept_[i]);
        }
        ::close(file_);
    }

    off_t size() const {
        std::fflush(nullptr);
        return ::lseek(file_, 0, SEEK_END);
    }

private:
    static constexpr std::array numbers{STDOUT_FILENO, STDERR_FILENO};

    int file_;
    std::array<int, 2> kept_{};
};

/// The name of a copied plug-in in /proc/self/maps while it is loaded.
constexpr std::string_view copiedPluginName = "memfd:copied-plug-in";

/// Loads a plug-in a second time, from a copy in memory, so that it has its own state. At most one copy may
/// be loaded at a time.
PluginLibrary copiedPlugin(const PluginLibrary& library) {
    const int number = checked(::memfd_create("copied-plug-in", MFD_CLOEXEC), "memfd_create");
    const FileDescriptor copy = FileDescriptor::adopt(number, "copied plug-in");
    const std::string path = "/proc/self/fd/" + std::to_string(number);
    std::ofstream(path, std::ios_base::binary)
        << std::ifstream(library.path(), std::ios_base::binary).rdbuf();
    return PluginLibrary(path);
}

void printsNothing(CheckContext& context) {
    context.provider();
    off_t printed = 0;
    {
        const CapturedOutput output;
        const PluginLibrary plugin = copiedPlugin(context.library());
        use(context, *buildFrom(plugin));
        printed = output.size();
    }
    expect(printed == 0, fmt::format("{} bytes were printed by loading the plug-in and using it", printed));
}

long entriesOf(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

void expectNoneMore(CheckContext& context, const char* processFolder, std::string_view what) {
    context.provider();
    const long before = entriesOf(processFolder);
    const Owner provider = build(context);
    use(context, *provider);
    const StorageIRI folder = makeFolder(context, *provider);
    const auto stream = provider->doOpenStream(context.at(u"d/f"), {});
    const auto listing = provider->doListAll(folder);
    const long after = entriesOf(processFolder);
    expect(after == before, fmt::format("with a provider, a stream and a listing the process has {} more {}",
                                        after - before, what));
}

void opensNoFile(CheckContext& context) {
    expectNoneMore(context, "/proc/self/fd", "open files");
}

void startsNoThread(CheckContext& context) {
    expectNoneMore(context, "/proc/self/task", "threads");
}

bool isMapped(std::string_view name) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find(name) != std::string::npos) {
            return true;
        }
    }
    return false;
}

void unloadsWithoutTrace(CheckContext& context) {
    {
        const PluginLibrary plugin = copiedPlugin(context.library());
        use(context, *buildFrom(plugin));
        expect(isMapped(copiedPluginName), "a library that is loaded is not mapped");
    }
    expect(!isMapped(copiedPluginName), "the library stays mapped after it was unloaded");
}

/// Expects that an operation fails with exactly `Exception`, not with a derived class of the plug-in.
void expectOwnClass(const std::function<void()>& action) {
    try {
        action();
    } catch (const Exception& failure) {
        expect(typeid(failure) == typeid(Exception),
               fmt::format("a failure is of the class {}, which derives from Exception",
                           boost::core::demangle(typeid(failure).name())));
        return;
    }
    expect(false, "an operation that must fail succeeds");
}

void failuresAreOfOwnClass(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI missing = context.at(u"missing");
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "bytes");
    const std::array<std::function<void()>, 14> refused{
        [&] { provider.doCreateFile(file); },
        [&] { provider.doCreateFolder(file); },
        [&] { provider.doRemoveFile(missing); },
        [&] { provider.doRemoveFolder(missing); },
        [&] { provider.doRemoveFolder(context.at(u"")); },
        [&] { provider.doMoveFile(missing, file, ReplacementPolicy::ReplaceExisting); },
        [&] { provider.doMoveFolder(missing, file, ReplacementPolicy::ReplaceExisting); },
        [&] { provider.doGetFileAttributes(missing); },
        [&] { provider.doGetFolderAttributes(missing); },
        [&] { provider.doOpenStream(missing, {.existence = ByteStreamExistence::MustExist}); },
        [&] { provider.doOpenReadOnlyStream(missing); },
        [&] { provider.doListAll(missing); },
        [&] { provider.doSetWritable(missing, true); },
        [&] { provider.doSetLastModified(missing, boost::posix_time::second_clock::universal_time()); },
    };
    for (const std::function<void()>& each : refused) {
        expectOwnClass(each);
    }
    provider.doRemoveFile(file);
    useEveryOperation(context, provider);
}

constexpr auto any = Profile::AnyProvider;
constexpr auto inMemory = Profile::InMemoryProvider;

constexpr std::array table{
    Check{"1.1", "entry.gives-a-provider", "The entry point stores a working provider.", any, givesAProvider},
    Check{"1.2", "entry.new-each-time", "Each call of the entry point makes another provider.", any,
          newEachTime},
    Check{"1.3", "entry.lets-go-of-held",
          "The entry point releases the provider that the caller's pointer held before.", any,
          releasesHeldProvider},
    Check{"1.4", "entry.leaves-other-owners",
          "A provider with another owner survives the next call of the entry point.", any, leavesOtherOwners},
    Check{"1.5", "entry.goes-with-last-owner",
          "A provider is destroyed with its last owner: the plug-in keeps no reference to it.", any,
          goesWithLastOwner},
    Check{"1.6", "entry.null-pointer", "The entry point rejects a null pointer with std::invalid_argument.",
          inMemory, nullPointerIsRefused},
    Check{"1.7", "entry.new-storage-is-empty", "A new storage holds only its root, which is writable.",
          inMemory, newStorageIsEmpty},
    Check{"1.8", "entry.storages-are-apart",
          "Two providers share nothing, and the content of one is destroyed with it.", inMemory,
          storagesAreApart},
    Check{"1.9", "entry.features-are-answered",
          "doHasFeature accepts every number and always returns the same answer for it.", any,
          everyFeatureIsAnswered},
    Check{"1.10", "entry.volatile-storage-alone",
          "The provider claims the feature VolatileStorage and no other.", inMemory, volatileStorageAlone},
    Check{"1.11", "entry.shuts-down",
          "After doShutdown a provider can be destroyed, and another one created.", any, shutsDown},
    Check{"1.12", "entry.listing-outlives-provider",
          "A listing and its clones remain usable after their provider is destroyed.", any,
          listingOutlivesProvider},
    Check{"1.13", "entry.prints-nothing", "Loading and using the plug-in prints nothing.", inMemory,
          printsNothing},
    Check{"1.14", "entry.opens-no-file", "The provider, its streams and its listings keep no file open.",
          inMemory, opensNoFile},
    Check{"1.15", "entry.starts-no-thread", "The provider, its streams and its listings run no thread.",
          inMemory, startsNoThread},
    Check{"1.16", "entry.unloads-without-trace",
          "When everything is released, the library can be unloaded completely.", inMemory,
          unloadsWithoutTrace},
    Check{"1.17", "entry.failures-are-exceptions",
          "A failure is of the class Exception itself, not of a class that the plug-in derives from it.", any,
          failuresAreOfOwnClass},
};

} // namespace
} // namespace entry_point_checks

std::span<const Check> entryPoint() {
    return entry_point_checks::table;
}

} // namespace storage::host::checks
