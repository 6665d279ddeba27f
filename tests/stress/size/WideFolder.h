#pragma once

#include "tests/stress/size/Storage.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <functional>

namespace storage::stress {

/// One folder with very many files, and a folder among every thousand of them, that are made, looked up,
/// listed and removed, each step checked against what the entries' numbers say.
///
/// Owns the provider. The entries are numbered from 0 in the order of their names and are made and removed in
/// another. Thread safety: for one thread.
class WideFolder {
public:
    /// @param files  a multiple of 1,000
    explicit WideFolder(unsigned long files);

    /// @throws Fault
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
    /// The entry that is the `turn`th to be made or removed.
    unsigned long scattered(unsigned long turn) const;

    void lookUp(unsigned long number);
    /// Walks `listing` to its end; it must yield the selected entries from number `first` on, and nothing
    /// else.
    void expectListing(IFolderEntryIterator& listing, unsigned long first, const Selection& selected);

    std::shared_ptr<IProvider> provider_ = newProvider();
    unsigned long files_;
    unsigned long entries_;
    unsigned long operations_ = 0;
};

} // namespace storage::stress
