#include "tests/host/validate/faults/BrokenProvider.h"
#include "tests/host/validate/faults/FaultCatalogue.h"

#include <algorithm>
#include <array>
#include <boost/property_tree/ptree.hpp>

namespace faults {

using namespace foundation::storage::provider;

namespace default_model_faults {
namespace {

using Names = std::vector<std::u16string>;

std::size_t levelsOf(std::u16string_view path) {
    return static_cast<std::size_t>(std::count(path.begin(), path.end(), u'/'));
}

/// Treats a bracket expression in a pattern as "?".
class BracketsMeanOne final : public BrokenProvider {
public:
    Listing doListFilesWildcards(const StorageIRI& iri, std::u16string pattern) const override {
        const auto begin = pattern.find(u'[');
        const auto end = pattern.find(u']', begin);
        if (end != std::u16string::npos) {
            pattern.replace(begin, end + 1 - begin, u"?");
        }
        return BrokenProvider::doListFilesWildcards(iri, pattern);
    }
};

/// Omits names below the third level.
class ThreeLevelsOfNames final : public BrokenProvider {
public:
    Names doListAllRecursiveNamesOnly(const StorageIRI& iri) const override {
        Names names = BrokenProvider::doListAllRecursiveNamesOnly(iri);
        names.erase(std::remove_if(names.begin(), names.end(),
                                   [](const std::u16string& name) { return levelsOf(name) > 2; }),
                    names.end());
        return names;
    }
};

/// Limits the depth of paths to 64 levels.
class SixtyFourLevels final : public BrokenProvider {
public:
    void doCreateFolderRecursive(const StorageIRI& iri) const override {
        if (levelsOf(iri.getPath()) > 64) {
            throw Exception(ErrorCode::NotFound, iri);
        }
        BrokenProvider::doCreateFolderRecursive(iri);
    }
};

/// Orders paths by length only, so different paths of one length are equivalent.
class OrderedByLength final : public BrokenProvider {
public:
    PathComparator doGetPathComparator(const StorageIRI&) const override {
        return [](std::u16string_view first, std::u16string_view second) {
            return first.size() < second.size();
        };
    }
};

/// Compares by a difference of 16 bits, which overflows, so the order has cycles.
class OrderOverflows final : public BrokenProvider {
public:
    PathComparator doGetPathComparator(const StorageIRI&) const override {
        return [](std::u16string_view first, std::u16string_view second) {
            const auto [a, b] = std::mismatch(first.begin(), first.end(), second.begin(), second.end());
            return a == first.end() || b == second.end() ? first.size() < second.size()
                                                         : static_cast<std::int16_t>(*a - *b) < 0;
        };
    }
};

/// Reverses the order with every comparator.
class OrderAlternates final : public BrokenProvider {
public:
    PathComparator doGetPathComparator(const StorageIRI&) const override {
        reverse_ = !reverse_;
        return [reverse = reverse_](std::u16string_view first, std::u16string_view second) {
            return reverse ? second < first : first < second;
        };
    }

private:
    mutable bool reverse_ = false;
};

/// Drops the last byte of a copy if its last block is full.
class FullBlockLosesByte final : public BrokenProvider {
public:
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const Policy& policy) const override {
        BrokenProvider::doCopyFile(source, destination, policy);
        const unsigned long long size = doGetFileAttributes(destination).getSize();
        if (size > 0 && size % 65536 == 0) {
            doTruncateToSize(destination, size - 1);
        }
    }
};

/// Extends a file by at most one block.
class GrowsByOneBlock final : public BrokenProvider {
public:
    void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const override {
        BrokenProvider::doTruncateToSize(iri, std::min(size, doGetFileAttributes(iri).getSize() + 65536ULL));
    }
};

/// Returns an ordinary stream as a transactional stream.
class TransactionsInNameOnly final : public BrokenProvider {
public:
    std::unique_ptr<ByteStream> doOpenTransactionalStream(const StorageIRI& iri,
                                                          const OpenOptions& options) const override {
        return doOpenStream(iri, options);
    }
};

/// Accepts subscriptions but never reports events.
class NeverReportsEvents final : public BrokenProvider {
public:
    void doPublishFolderEventsFor(const StorageIRI&, EventCallback) const override {}
    void doStopPublishingEventsFor(const StorageIRI&) const override {}
};

/// Finds nothing by a long pattern.
class LongPatternsFindNothing final : public BrokenProvider {
public:
    Listing doListFilesWildcards(const StorageIRI& iri, std::u16string pattern) const override {
        return BrokenProvider::doListFilesWildcards(iri, pattern.size() > 255 ? u"" : pattern);
    }
};

/// Lists the names of folders below the third level after their content.
class DeepFoldersLast final : public BrokenProvider {
public:
    Names doListAllRecursiveNamesOnly(const StorageIRI& iri) const override {
        Names names = BrokenProvider::doListAllRecursiveNamesOnly(iri);
        const auto deep = std::stable_partition(
            names.begin(), names.end(), [](const std::u16string& name) { return levelsOf(name) <= 2; });
        std::reverse(deep, names.end());
        return names;
    }
};

constexpr std::array table{
    Fault{"BracketsMeanOne", "16.1", build<BracketsMeanOne>},
    Fault{"LongPatternsFindNothing", "16.1", build<LongPatternsFindNothing>},
    Fault{"ThreeLevelsOfNames", "16.2", build<ThreeLevelsOfNames>},
    Fault{"SixtyFourLevels", "16.3", build<SixtyFourLevels>},
    Fault{"DeepFoldersLast", "16.3", build<DeepFoldersLast>},
    Fault{"OrderedByLength", "16.4", build<OrderedByLength>},
    Fault{"OrderOverflows", "16.4", build<OrderOverflows>},
    Fault{"OrderAlternates", "16.4", build<OrderAlternates>},
    Fault{"FullBlockLosesByte", "16.5", build<FullBlockLosesByte>},
    Fault{"GrowsByOneBlock", "16.6", build<GrowsByOneBlock>},
    Fault{"TransactionsInNameOnly", "16.7", build<TransactionsInNameOnly>},
    Fault{"NeverReportsEvents", "16.8", build<NeverReportsEvents>},
};

} // namespace
} // namespace default_model_faults

std::span<const Fault> defaultsAgainstModels() {
    return default_model_faults::table;
}

} // namespace faults
