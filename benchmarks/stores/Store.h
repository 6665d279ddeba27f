#pragma once

#include "benchmarks/workload/ListingSummary.h"
#include "benchmarks/workload/Stream.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace storage::benchmark {

/// Index into the paths passed to `prepare`.
using PathIndex = std::uint32_t;

/// An empty tree of folders and files under test. The virtual calls cost the same for every store.
///
/// `prepare` is called first: it converts the paths of a scenario to the store's own type, so that no
/// operation has to convert one. Each store overrides the operations of its abilities. Operations throw on
/// failure. As thread-safe as the underlying store.
class Store {
public:
    Store() = default;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    virtual ~Store() = default;

    /// @param paths  absolute, ASCII, parents before their entries
    virtual void prepare(const std::vector<std::string>& paths) = 0;

    virtual void createFolder(PathIndex /*path*/) {}
    virtual void createFile(PathIndex /*path*/) { throw missing("createFile"); }
    virtual std::uint64_t fileSize(PathIndex /*path*/) { throw missing("fileSize"); }
    virtual bool exists(PathIndex /*path*/) { throw missing("exists"); }

    /// Iterates a folder as a caller would, reading every name, and its kind if the store provides it.
    virtual ListingSummary list(PathIndex /*folder*/) { throw missing("list"); }

    virtual void moveFile(PathIndex /*from*/, PathIndex /*to*/) { throw missing("moveFile"); }
    virtual void moveFolder(PathIndex /*from*/, PathIndex /*to*/) { throw missing("moveFolder"); }
    virtual void removeFile(PathIndex /*path*/) { throw missing("removeFile"); }

    /// Opens a file, reads its first `count` bytes and closes it.
    virtual void readFile(PathIndex /*path*/, char* /*buffer*/, std::size_t /*count*/) {
        throw missing("readFile");
    }

    /// Opens an existing file of at most `count` bytes, overwrites it with `count` bytes and closes it.
    virtual void overwriteFile(PathIndex /*path*/, const char* /*bytes*/, std::size_t /*count*/) {
        throw missing("overwriteFile");
    }

    /// Creates and opens a file. Supported by every store, because scenarios fill it this way even if they do
    /// not report the time.
    /// @param size  final size, for stores that require it in advance
    virtual std::unique_ptr<Stream> createStream(PathIndex path, std::uint64_t size) = 0;

    /// Opens a file for overwriting from the beginning.
    virtual std::unique_ptr<Stream> openToOverwrite(PathIndex /*path*/) { throw missing("openToOverwrite"); }

    /// Opens a file so that every write goes to its end.
    virtual std::unique_ptr<Stream> openToAppend(PathIndex /*path*/) { throw missing("openToAppend"); }

    virtual std::unique_ptr<Stream> openToRead(PathIndex path) = 0;

private:
    static std::logic_error missing(const char* operation) {
        return std::logic_error(std::string("this store does not support ") + operation);
    }
};

/// Base of stores that use strings as paths.
class StringPathStore : public Store {
public:
    void prepare(const std::vector<std::string>& paths) override { paths_ = paths; }

protected:
    const std::string& path(PathIndex index) const { return paths_[index]; }

private:
    std::vector<std::string> paths_;
};

} // namespace storage::benchmark
