#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"
#include "tests/host/validate/faults/LocationParts.h"

#include <array>

namespace faults {

using namespace foundation::storage::provider;

namespace path_faults {
namespace {

/// Maps each location to a wrong one.
template <StorageIRI (*taken)(const StorageIRI&)>
class BrokenPaths : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        at(iri, [&](const StorageIRI& where) { HookedProvider::doCreateFile(where); });
    }
    void doCreateFolder(const StorageIRI& iri) const override {
        at(iri, [&](const StorageIRI& where) { HookedProvider::doCreateFolder(where); });
    }
    bool doFileExists(const StorageIRI& iri) const override {
        return HookedProvider::doFileExists(taken(iri));
    }
    bool doFolderExists(const StorageIRI& iri) const override {
        return HookedProvider::doFolderExists(taken(iri));
    }
    void doRemoveFile(const StorageIRI& iri) const override {
        at(iri, [&](const StorageIRI& where) { HookedProvider::doRemoveFile(where); });
    }
    void doRemoveFolder(const StorageIRI& iri) const override {
        at(iri, [&](const StorageIRI& where) { HookedProvider::doRemoveFolder(where); });
    }
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        return at(iri, [&](const StorageIRI& where) { return HookedProvider::doGetFileAttributes(where); });
    }
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override {
        return at(iri, [&](const StorageIRI& where) { return HookedProvider::doGetFolderAttributes(where); });
    }
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return at(iri, [&](const StorageIRI& where) { return HookedProvider::doOpenStream(where, options); });
    }
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        return at(iri, [&](const StorageIRI& where) { return HookedProvider::doOpenReadOnlyStream(where); });
    }
    Listing doListAll(const StorageIRI& iri) const override {
        return at(iri, [&](const StorageIRI& where) { return HookedProvider::doListAll(where); });
    }

private:
    /// Throws with the caller's location. Otherwise the provider would have a second fault.
    template <class Action>
    static auto at(const StorageIRI& iri, const Action& action) {
        try {
            return action(taken(iri));
        } catch (const Exception& failure) {
            throw Exception(failure.getErrorCode(), iri);
        }
    }
};

template <std::u16string (*spelled)(std::u16string path)>
StorageIRI respelled(const StorageIRI& iri) {
    return {spelled(iri.getResolvedPath()), spelled(iri.getPath()), iri.hasParent()};
}

std::u16string withoutSpacesInFront(std::u16string path) {
    for (std::size_t at = 0; (at = path.find(u"/ ")) != std::u16string::npos;) {
        path.erase(at + 1, 1);
    }
    return path;
}

std::u16string firstPlaneOnly(std::u16string path) {
    for (char16_t& unit : path) {
        unit = unit >= 0xD800 && unit < 0xE000 ? u'?' : unit;
    }
    return path;
}

/// Truncates the last name to two code units, except at the first level.
std::u16string withNameCut(std::u16string path) {
    const std::size_t separator = path.rfind(u'/');
    return separator == 0 ? path : path.substr(0, separator + 3);
}

std::u16string composed(std::u16string path) {
    for (std::size_t at = 0; (at = path.find(u"e\u0301")) != std::u16string::npos;) {
        path.replace(at, 2, u"\u00E9");
    }
    return path;
}

std::u16string untilNewLine(std::u16string path) {
    return path.substr(0, path.find(u'\n'));
}

/// Resolves dots like a shell: "d/.." is the folder of "d".
std::u16string withoutDots(std::u16string path) {
    for (std::size_t at = 0; (at = path.find(u"/./")) != std::u16string::npos;) {
        path.erase(at, 2);
    }
    for (std::size_t at = 0; (at = path.find(u"/../")) != std::u16string::npos;) {
        const std::size_t from = path.rfind(u'/', at - 1);
        path.erase(from, at + 3 - from);
    }
    return path;
}

std::u16string cutShort(std::u16string path) {
    path.resize(std::min<std::size_t>(path.size(), 1000));
    return path;
}

std::u16string withSlashKept(std::u16string path) {
    return path.size() > 1 && path.ends_with(u'/') ? path + u'/' : path;
}

std::u16string withoutSlashes(std::u16string path) {
    while (path.size() > 1 && path.ends_with(u'/')) {
        path.pop_back();
    }
    return path;
}

std::u16string ofAnotherMachine(std::u16string path) {
    return path.starts_with(u"//") && path.size() > 2 ? u"/machine" + path.substr(1) : path;
}

std::u16string withSlashesCollapsed(std::u16string path) {
    for (std::size_t at = 0; (at = path.find(u"//")) != std::u16string::npos;) {
        path.erase(at, 1);
    }
    return path;
}

std::u16string madeAbsolute(std::u16string path) {
    return path.starts_with(u'/') ? path : u'/' + path;
}

StorageIRI unresolved(const StorageIRI& iri) {
    return {iri.getPath(), iri.getPath(), iri.hasParent()};
}

StorageIRI rootByPathAlone(const StorageIRI& iri) {
    return {iri.getResolvedPath(), iri.getPath(), iri.getResolvedPath() != u"/"};
}

StorageIRI emptyIsNothing(const StorageIRI& iri) {
    return iri.getResolvedPath().empty() ? StorageIRI(u"/nothing") : iri;
}

/// Names the resolved location in failures.
class ResolvedLocationNamed final : public BrokenProvider {
public:
    void doRemoveFile(const StorageIRI& iri) const override {
        HookedProvider::doRemoveFile(StorageIRI(iri.getResolvedPath()));
    }
};

/// Ignores case, and reports so.
class CaseInsensitive final : public BrokenPaths<respelled<inLowerCase>> {
public:
    FilenameSensitivity doGetFilenameSensitivity(const StorageIRI&) const override {
        return FilenameSensitivity::CaseInsensitive;
    }
};

/// Removes trailing blanks from the names of new files.
class FileNamesTrimmed final : public BrokenProvider {
public:
    void doCreateFile(const StorageIRI& iri) const override {
        std::u16string name = nameOf(iri);
        name.erase(name.find_last_not_of(u' ') + 1);
        HookedProvider::doCreateFile(childOf(parentOf(iri), name));
    }
};

/// Truncates the names of new folders to 255 code units.
class FolderNamesCut final : public BrokenProvider {
public:
    void doCreateFolder(const StorageIRI& iri) const override {
        HookedProvider::doCreateFolder(iri.hasParent() ? childOf(parentOf(iri), nameOf(iri).substr(0, 255))
                                                       : iri);
    }
};

/// Replaces %20 by a blank in the name of a moved file.
class MovedNamesDecoded final : public BrokenProvider {
public:
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        std::u16string name = nameOf(to);
        if (const auto place = name.find(u"%20"); place != std::u16string::npos) {
            name.replace(place, 3, u" ");
        }
        HookedProvider::doMoveFile(from, childOf(parentOf(to), name), policy);
    }
};

constexpr std::array table{
    Fault{"SpacesCutOff", "4.1", build<BrokenPaths<respelled<withoutSpacesInFront>>>},
    Fault{"FirstPlaneOnly", "4.2", build<BrokenPaths<respelled<firstPlaneOnly>>>},
    Fault{"NamesCut", "4.3", build<BrokenPaths<respelled<withNameCut>>>},
    Fault{"CaseFolded", "4.4", build<BrokenPaths<respelled<inLowerCase>>>},
    Fault{"CaseInsensitive", "4.5", build<CaseInsensitive>},
    Fault{"NamesComposed", "4.6", build<BrokenPaths<respelled<composed>>>},
    Fault{"NamesEndWithTheLine", "4.7", build<BrokenPaths<respelled<untilNewLine>>>},
    Fault{"DotsResolved", "4.8", build<BrokenPaths<respelled<withoutDots>>>},
    Fault{"LongNamesCut", "4.9", build<BrokenPaths<respelled<cutShort>>>},
    Fault{"TrailingSlashCounts", "4.10", build<BrokenPaths<respelled<withSlashKept>>>},
    Fault{"TrailingSlashesCutOff", "4.11", build<BrokenPaths<respelled<withoutSlashes>>>},
    Fault{"TwoSlashesNameMachine", "4.12", build<BrokenPaths<respelled<ofAnotherMachine>>>},
    Fault{"SlashesCollapsed", "4.13", build<BrokenPaths<respelled<withSlashesCollapsed>>>},
    Fault{"RelativeMadeAbsolute", "4.14", build<BrokenPaths<respelled<madeAbsolute>>>},
    Fault{"PathNotResolved", "4.15", build<BrokenPaths<unresolved>>},
    Fault{"ResolvedLocationNamed", "4.16", build<ResolvedLocationNamed>},
    Fault{"RootByPathAlone", "4.17", build<BrokenPaths<rootByPathAlone>>},
    Fault{"EmptyPathIsNothing", "4.18", build<BrokenPaths<emptyIsNothing>>},
    Fault{"FileNamesTrimmed", "4.19", build<FileNamesTrimmed>},
    Fault{"FolderNamesCut", "4.20", build<FolderNamesCut>},
    Fault{"MovedNamesDecoded", "4.21", build<MovedNamesDecoded>},
};

} // namespace
} // namespace path_faults

std::span<const Fault> paths() {
    return path_faults::table;
}

} // namespace faults
