#include "tests/host/validate/faults/BrokenMoves.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/support/ForwardingStream.h"

#include <algorithm>
#include <array>
#include <new>
#include <string>
#include <vector>

namespace faults {

using namespace foundation::storage::provider;

namespace exhausted_memory_faults {
namespace {

using Policy = ReplacementPolicy;

/// Allocates memory for a record of an operation.
void note() {
    static std::vector<char> notes;
    notes = std::vector<char>(700);
}

/// Reports a failed allocation as ReadOnly.
struct OutOfRoom : BrokenProvider {
    void doCreateFolder(const StorageIRI& iri) const override {
        try {
            sound().doCreateFolder(iri);
        } catch (const std::bad_alloc&) {
            throw ErrorCode::ReadOnly;
        }
    }
};

/// Fails forever after the first failed allocation.
class GivingUp final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        if (hasGivenUp_) {
            throw std::bad_alloc();
        }
        hasGivenUp_ = true;
        sound().doCreateFile(iri);
        hasGivenUp_ = false;
    }

private:
    mutable bool hasGivenUp_ = false;
};

/// Records a creation after it has taken place.
struct CreatingThenNoting : BrokenProvider {
    void doCreateFile(const StorageIRI& iri) const override {
        sound().doCreateFile(iri);
        note();
    }
};

/// Records a removal after it has taken place.
struct RemovingThenNoting : BrokenProvider {
    void doRemoveFile(const StorageIRI& iri) const override {
        sound().doRemoveFile(iri);
        note();
    }
};

/// Wraps the stream after opening has stamped or emptied the file.
struct OpeningThenWrapping : BrokenProvider {
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return std::make_unique<ForwardingStream>(sound().doOpenStream(iri, options));
    }
};

/// Stamps the folder of a listing before allocating.
struct ListingStamps : BrokenProvider {
    Listing doListAll(const StorageIRI& iri) const override {
        const auto time = sound().doGetFolderAttributes(iri).getLastModified();
        sound().doSetLastModified(iri, time + boost::posix_time::seconds(1));
        auto listing = sound().doListAll(iri);
        sound().doSetLastModified(iri, time);
        return listing;
    }
};

/// Removes the file to replace first, and does not restore it.
void removingTheReplaced(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                         Policy policy) {
    if (policy == Policy::ReplaceExisting && sound.doFileExists(to)) {
        sound.doRemoveFile(to);
        note();
    }
    sound.doMoveFile(from, to, policy);
}

/// Removes the source of a move before the new file exists.
void takingOutFirst(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (sound.doFileExists(to)) {
        return sound.doMoveFile(from, to, policy);
    }
    std::array<char, 64> bytes{};
    const long count = sound.doOpenReadOnlyStream(from)->read(bytes.data(), 64);
    sound.doRemoveFile(from);
    sound.doOpenStream(to, {})->write(bytes.data(), count);
}

/// Removes the content of a folder before the new folder exists.
void emptyingTheFolderFirst(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                            Policy policy) {
    const StorageIRI inner = below(from, u"inner");
    const StorageIRI newInner = below(to, u"inner");
    std::array<char, 64> bytes{};
    const long count = sound.doOpenReadOnlyStream(inner)->read(bytes.data(), 64);
    sound.doRemoveFile(inner);
    sound.doMoveFolder(from, to, policy);
    sound.doOpenStream(newInner, {})->write(bytes.data(), count);
}

/// Empties the destination of a copy before allocating the buffer.
struct CopyingIntoEmptied : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        if (policy == Policy::ReplaceExisting) {
            sound().doOpenStream(destination, {.content = ByteStreamContent::Empty});
        }
        sound().doCopyFile(source, destination, policy);
    }
};

/// Empties a file before allocating memory for the bytes to keep.
struct ShorteningThroughNothing : BrokenProvider {
    void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const override {
        const auto old = sound().doOpenReadOnlyStream(iri);
        std::array<char, 64> bytes{};
        const long kept = old->read(bytes.data(), static_cast<long>(std::min(size, 64ULL)));
        sound().doOpenStream(iri, {.content = ByteStreamContent::Empty});
        note();
        sound().doOpenStream(iri, {})->write(bytes.data(), kept);
    }
};

/// Writes in two halves, and keeps the first half if the second fails.
struct WritingByHalves : ForwardingStream {
    using ForwardingStream::ForwardingStream;
    long write(const char* buffer, long count) override {
        inner().write(buffer, count / 2);
        inner().write(buffer + count / 2, count - count / 2);
        return count;
    }
};

/// Allocates a buffer for each read.
struct ReadingThroughMemory : ForwardingStream {
    using ForwardingStream::ForwardingStream;
    long read(char* buffer, long count) override {
        note();
        return inner().read(buffer, count);
    }
};

template <class Stream>
struct StreamsWithoutMemory : BrokenProvider {
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return std::make_unique<Stream>(sound().doOpenStream(iri, options));
    }
};

constexpr std::array table{
    Fault{"OutOfRoom", "14.1", build<OutOfRoom>},
    Fault{"GivingUp", "14.2", build<GivingUp>},
    Fault{"CreatingThenNoting", "14.3", build<CreatingThenNoting>},
    Fault{"RemovingThenNoting", "14.4", build<RemovingThenNoting>},
    Fault{"OpeningThenWrapping", "14.5", build<OpeningThenWrapping>},
    Fault{"ListingStamps", "14.6", build<ListingStamps>},
    Fault{"RemovingTheReplaced", "14.7", build<MovingFiles<removingTheReplaced>>},
    Fault{"TakingOutFirst", "14.8", build<MovingFiles<takingOutFirst>>},
    Fault{"EmptyingTheFolderFirst", "14.9", build<MovingFolders<emptyingTheFolderFirst>>},
    Fault{"CopyingIntoEmptied", "14.10", build<CopyingIntoEmptied>},
    Fault{"ShorteningThroughNothing", "14.11", build<ShorteningThroughNothing>},
    Fault{"WritingByHalves", "14.12", build<StreamsWithoutMemory<WritingByHalves>>},
    Fault{"ReadingThroughMemory", "14.13", build<StreamsWithoutMemory<ReadingThroughMemory>>},
};

} // namespace
} // namespace exhausted_memory_faults

std::span<const Fault> exhaustedMemory() {
    return exhausted_memory_faults::table;
}

} // namespace faults
