#pragma once

#include "tests/stress/size/Storage.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <functional>

namespace storage::stress {

/// Creates, looks up, lists and removes very many files in one folder, with a subfolder per thousand files.
/// Checks each step against the numbers of the entries.
///
/// Owns the provider. Entries are numbered in the order of their names, and created and removed in another
/// order. Not thread-safe.
class WideFolder {
public:
    /// @param files  a multiple of 1,000
    explicit WideFolder(unsigned long files);

    /// @throws Violation
    void run();

private:
    using Selection = std::function<bool(unsigned long number)>;

    void createAll();
    void lookUpAll();
    void listAll();
    void cloneHalfWay();
    void removeAll();

    bool isFolder(unsigned long number) const;
    StorageIRI iri(unsigned long number) const;
    boost::posix_time::ptime time(unsigned long number) const;
    /// The entry that is created or removed at this turn.
    unsigned long scattered(unsigned long turn) const;

    void lookUp(unsigned long number);
    /// Iterates `listing` to its end. It must return exactly the selected entries from number `first` on.
    void expectListing(IFolderEntryIterator& listing, unsigned long first, const Selection& selected);

    std::shared_ptr<IProvider> provider_ = newProvider();
    unsigned long files_;
    unsigned long entries_;
    unsigned long operations_ = 0;
};

} // namespace storage::stress
