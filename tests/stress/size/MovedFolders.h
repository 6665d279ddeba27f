#pragma once

#include "tests/stress/size/Storage.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <functional>

namespace storage::stress {

/// Moves many folders with one call: branches of nested folders, with a file at the end of each. Paths are
/// relative to the top.
///
/// Owns the provider. Not thread-safe.
class MovedFolders {
public:
    /// @param branches  each of 100 folders
    explicit MovedFolders(unsigned long branches) : branches_(branches) {}

    /// @throws Violation
    void run();

private:
    using FolderVisitor = std::function<void(const std::u16string& relativePath, unsigned long children)>;
    using FileVisitor = std::function<void(const std::u16string& relativePath, unsigned long branch)>;

    /// Visits every folder before its entries. The second argument is the number of folders in that folder.
    void forEachFolder(const FolderVisitor& visit) const;
    void forEachFile(const FileVisitor& visit) const;

    void createAll();
    void moveAll();
    void expectFoldersMoved();
    void expectFilesMoved();
    void expectNothingElse();

    std::shared_ptr<IProvider> provider_ = newProvider();
    unsigned long branches_;
    unsigned long folders_ = 0;
    boost::posix_time::ptime timeOfMove_;
};

} // namespace storage::stress
