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

/// Something that a provider writes down about what it did, and that takes memory.
void note() {
    static std::vector<char> notes;
    notes = std::vector<char>(700);
}

/// That there is no memory counts as that nothing may be changed.
struct OutOfRoom : BrokenProvider {
    void doCreateFolder(const StorageIRI& iri) const override {
        try {
            sound().doCreateFolder(iri);
        } catch (const std::bad_alloc&) {
            throw ErrorCode::ReadOnly;
        }
    }
};

/// Who has once run out of memory gives up for ever.
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

/// What was created is noted afterwards.
struct CreatingThenNoting : BrokenProvider {
    void doCreateFile(const StorageIRI& iri) const override {
        sound().doCreateFile(iri);
        note();
    }
};

/// What was removed is noted afterwards.
struct RemovingThenNoting : BrokenProvider {
    void doRemoveFile(const StorageIRI& iri) const override {
        sound().doRemoveFile(iri);
        note();
    }
};

/// The stream is wrapped when the file has been opened, which has stamped or emptied it.
struct OpeningThenWrapping : BrokenProvider {
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return std::make_unique<ForwardingStream>(sound().doOpenStream(iri, options));
    }
};

/// A listing stamps its folder, and then needs memory.
struct ListingStamps : BrokenProvider {
    Listing doListAll(const StorageIRI& iri) const override {
        const auto time = sound().doGetFolderAttributes(iri).getLastModified();
        sound().doSetLastModified(iri, time + boost::posix_time::seconds(1));
        auto listing = sound().doListAll(iri);
        sound().doSetLastModified(iri, time);
        return listing;
    }
};

/// A file to be replaced is removed first and not put back.
void removingTheReplaced(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                         Policy policy) {
    if (policy == Policy::ReplaceExisting && sound.doFileExists(to)) {
        sound.doRemoveFile(to);
        note();
    }
    sound.doMoveFile(from, to, policy);
}

/// A file is taken out of its old place before there is a new one.
void takingOutFirst(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (sound.doFileExists(to)) {
        return sound.doMoveFile(from, to, policy);
    }
    std::array<char, 64> bytes{};
    const long count = sound.doOpenReadOnlyStream(from)->read(bytes.data(), 64);
    sound.doRemoveFile(from);
    sound.doOpenStream(to, {})->write(bytes.data(), count);
}

/// What a folder holds is taken out of it before there is a new one.
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

/// A copy empties its destination before it has the memory to copy.
struct CopyingIntoEmptied : BrokenProvider {
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        if (policy == Policy::ReplaceExisting) {
            sound().doOpenStream(destination, {.content = ByteStreamContent::Empty});
        }
        sound().doCopyFile(source, destination, policy);
    }
};

/// A file is emptied before there is memory for the bytes that are to stay.
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

/// A write goes half by half, and keeps the half for which there was memory.
struct WritingByHalves : ForwardingStream {
    using ForwardingStream::ForwardingStream;
    long write(const char* buffer, long count) override {
        inner().write(buffer, count / 2);
        inner().write(buffer + count / 2, count - count / 2);
        return count;
    }
};

/// A read goes through memory of its own.
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
