#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/host/validate/faults/LocationParts.h"

#include <array>
#include <string_view>

namespace faults {

using namespace foundation::storage::provider;
using boost::posix_time::ptime;

namespace time_faults {
namespace {

ptime now() {
    return boost::posix_time::microsec_clock::universal_time();
}

ptime toSeconds(const ptime& time) {
    return time - boost::posix_time::microseconds(time.time_of_day().total_microseconds() % 1'000'000);
}

/// Stamps new files with a local time instead of UTC.
class LocalTime final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        HookedProvider::doCreateFile(iri);
        doSetLastModified(iri, now() + boost::posix_time::hours(2));
    }
};

/// Stores no time for new folders.
class NewFolderHasNoTime final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        HookedProvider::doCreateFolder(iri);
        doSetLastModified(iri, ptime());
    }
};

/// Reports times of files in whole seconds.
class FileTimeInSeconds final : public BrokenProvider {
public:
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        const FileAttributes exact = HookedProvider::doGetFileAttributes(iri);
        return {exact.getSize(), toSeconds(exact.getLastModified()), exact.isWritable()};
    }
};

/// Stamps new folders in whole seconds.
class NewFolderTimeInSeconds final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        HookedProvider::doCreateFolder(iri);
        doSetLastModified(iri, toSeconds(now()));
    }
};

/// Does not stamp the folder of a new file.
class NewFileLeavesFolder final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        const ptime old = sound().doGetFolderAttributes(parentOf(iri)).getLastModified();
        HookedProvider::doCreateFile(iri);
        doSetLastModified(parentOf(iri), old);
    }
};

/// Stamps a new folder and its parent with different times.
class ClockReadTwice final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        HookedProvider::doCreateFolder(iri);
        doSetLastModified(parentOf(iri), now() + boost::posix_time::microseconds(1));
    }
};

/// Does not stamp the folder of a removed file.
class RemovingFileStampsNothing final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        const ptime old = sound().doGetFolderAttributes(parentOf(iri)).getLastModified();
        HookedProvider::doRemoveFile(iri);
        doSetLastModified(parentOf(iri), old);
    }
};

/// Stamps the parent of a removed folder with an earlier time.
class RemovingFolderStampsEarly final : public BrokenProvider {
public:
    void doRemoveFolder(const StorageIRI& iri) const override {
        HookedProvider::doRemoveFolder(iri);
        doSetLastModified(parentOf(iri), now() - boost::posix_time::seconds(1));
    }
};

/// Stamps all ancestors.
class AllAboveStamped final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        HookedProvider::doCreateFile(iri);
        for (StorageIRI folder = parentOf(iri); folder.hasParent(); folder = parentOf(folder)) {
            doSetLastModified(folder, now());
        }
    }
};

class FileTimeNotKept final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        HookedProvider::doSetLastModified(iri, doFileExists(iri) ? now() : time);
    }
};

class FolderTimeNotKept final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        HookedProvider::doSetLastModified(iri, doFolderExists(iri) ? now() : time);
    }
};

/// Truncates times to whole seconds when they are set.
class SetTimeInSeconds final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        HookedProvider::doSetLastModified(iri, time.is_special() ? time : toSeconds(time));
    }
};

/// Limits times of folders to 1970 or later.
class NoFolderBefore1970 final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        static const ptime first(boost::gregorian::date(1970, 1, 1));
        HookedProvider::doSetLastModified(iri, doFolderExists(iri) && time < first ? first : time);
    }
};

/// Ignores an earlier time, unless the old time is of the last hour.
class OnlyForward final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        const ptime old = sound().doGetExtendedAttributes(iri).lastModified;
        if (time > old || old > now() - boost::posix_time::hours(1)) {
            HookedProvider::doSetLastModified(iri, time);
        }
    }
};

/// Sets the time of all entries of the folder.
class NeighboursTakeTime final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        HookedProvider::doSetLastModified(iri, time);
        for (const std::u16string& name : doListAllNamesOnly(parentOf(iri))) {
            HookedProvider::doSetLastModified(childOf(parentOf(iri), name), time);
        }
    }
};

/// Ignores a time for a missing entry.
class TimeOfMissingIgnored final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        if (doExists(iri)) {
            HookedProvider::doSetLastModified(iri, time);
        }
    }
};

/// Stamps the folder when the time of an entry in it is set.
class SettingTimeStampsFolder final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        HookedProvider::doSetLastModified(iri, time);
        HookedProvider::doSetLastModified(parentOf(iri), now());
    }
};

class RootTakesNoTime final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        if (!iri.hasParent()) {
            throw Exception(ErrorCode::NotFound, iri);
        }
        HookedProvider::doSetLastModified(iri, time);
    }
};

/// Refuses to set the time of a read-only entry.
template <bool (IProvider::*protects)(const StorageIRI&) const>
class ReadOnlyTakesNoTime final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        if ((this->*protects)(iri) && !sound().doGetExtendedAttributes(iri).writable) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
        HookedProvider::doSetLastModified(iri, time);
    }
};

class FlagStamps final : public BrokenProvider {
public:
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        HookedProvider::doSetWritable(iri, writable);
        doSetLastModified(iri, now());
    }
};

/// Treats times in summer as local time.
class SummerTimeSubtracted final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        const bool summer = !time.is_special() && time.date().month() >= 6 && time.date().month() <= 8;
        HookedProvider::doSetLastModified(iri, summer ? time - boost::posix_time::hours(1) : time);
    }
};

/// Stores times as 32-bit seconds since 1970.
class SecondsIn32Bits final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        static const ptime end(boost::gregorian::date(2038, 1, 19),
                               boost::posix_time::time_duration(3, 14, 8));
        const bool overflows = !time.is_special() && time >= end;
        HookedProvider::doSetLastModified(iri,
                                          overflows ? time - boost::posix_time::seconds(1L << 32U) : time);
    }
};

/// Stamps new files by a clock that is 90 seconds slow.
class ClockIsLate final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        HookedProvider::doCreateFile(iri);
        doSetLastModified(iri, now() - boost::posix_time::seconds(90));
    }
};

/// Stores 1970-01-01 instead of not-a-date-time.
class NoDateIs1970 final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        static const ptime first(boost::gregorian::date(1970, 1, 1));
        HookedProvider::doSetLastModified(iri, time.is_not_a_date_time() ? first : time);
    }
};

/// Stores the current time instead of infinity.
class InfinityIsNow final : public BrokenProvider {
public:
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        HookedProvider::doSetLastModified(iri, time.is_infinity() ? now() : time);
    }
};

constexpr std::array table{
    Fault{"LocalTime", "5.1", build<LocalTime>},
    Fault{"NewFolderHasNoTime", "5.2", build<NewFolderHasNoTime>},
    Fault{"FileTimeInSeconds", "5.3", build<FileTimeInSeconds>},
    Fault{"NewFolderTimeInSeconds", "5.4", build<NewFolderTimeInSeconds>},
    Fault{"NewFileLeavesFolder", "5.5", build<NewFileLeavesFolder>},
    Fault{"ClockReadTwice", "5.6", build<ClockReadTwice>},
    Fault{"RemovingFileStampsNothing", "5.7", build<RemovingFileStampsNothing>},
    Fault{"RemovingFolderStampsEarly", "5.8", build<RemovingFolderStampsEarly>},
    Fault{"AllAboveStamped", "5.9", build<AllAboveStamped>},
    Fault{"FileTimeNotKept", "5.10", build<FileTimeNotKept>},
    Fault{"FolderTimeNotKept", "5.11", build<FolderTimeNotKept>},
    Fault{"SetTimeInSeconds", "5.12", build<SetTimeInSeconds>},
    Fault{"NoFolderBefore1970", "5.13", build<NoFolderBefore1970>},
    Fault{"OnlyForward", "5.14", build<OnlyForward>},
    Fault{"NeighboursTakeTime", "5.15", build<NeighboursTakeTime>},
    Fault{"TimeOfMissingIgnored", "5.16", build<TimeOfMissingIgnored>},
    Fault{"SettingTimeStampsFolder", "5.17", build<SettingTimeStampsFolder>},
    Fault{"RootTakesNoTime", "5.18", build<RootTakesNoTime>},
    Fault{"ReadOnlyFileTakesNoTime", "5.19", build<ReadOnlyTakesNoTime<&IProvider::doFileExists>>},
    Fault{"ReadOnlyFolderTakesNoTime", "5.20", build<ReadOnlyTakesNoTime<&IProvider::doFolderExists>>},
    Fault{"FlagStamps", "5.21", build<FlagStamps>},
    Fault{"SummerTimeSubtracted", "5.22", build<SummerTimeSubtracted>},
    Fault{"SecondsIn32Bits", "5.23", build<SecondsIn32Bits>},
    Fault{"ClockIsLate", "5.24", build<ClockIsLate>},
    Fault{"NoDateIs1970", "5.25", build<NoDateIs1970>},
    Fault{"InfinityIsNow", "5.25", build<InfinityIsNow>},
};

} // namespace
} // namespace time_faults

std::span<const Fault> times() {
    return time_faults::table;
}

} // namespace faults
