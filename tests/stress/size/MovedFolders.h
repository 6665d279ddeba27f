#pragma once

#include "tests/stress/size/Storage.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <functional>

namespace storage::stress {

/// Very many folders, in many branches side by side of some depth each, with a file at the end of each
/// branch, that one call moves away. All that is below the top is known by its path relative to the top.
///
/// Owns the provider. Thread safety: for one thread.
class MovedFolders {
public:
    /// @param branches  each of 100 folders
    explicit MovedFolders(unsigned long branches) : branches_(branches) {}

    /// @throws Fault
    void run();

private:
    using FolderVisitor = std::function<void(const std::u16string& relativePath, unsigned long children)>;
    using FileVisitor = std::function<void(const std::u16string& relativePath, unsigned long branch)>;

    /// Visits every folder, each before what it holds; the second number counts the folders in it.
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
