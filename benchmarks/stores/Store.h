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

/// Index into the paths that a store was given.
using PathIndex = std::uint32_t;

/// An empty tree of folders and files that is to be measured, behind calls that cost the same for every store.
///
/// `prepare` comes first: it takes the paths of a scenario over into the store's own form, so that no operation
/// has to convert one. Each store overrides what it has an ability for; an operation that fails throws. Safe for
/// threads as far as the store behind it is.
class Store {
public:
    Store() = default;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    virtual ~Store() = default;

    /// @param paths  absolute, ASCII, each parent given before what it holds
    virtual void prepare(const std::vector<std::string>& paths) = 0;

    virtual void createFolder(PathIndex /*path*/) {}
    virtual void createFile(PathIndex /*path*/) { throw missing("createFile"); }
    virtual std::uint64_t fileSize(PathIndex /*path*/) { throw missing("fileSize"); }
    virtual bool exists(PathIndex /*path*/) { throw missing("exists"); }

    /// Goes through a folder as a caller would, with every name, and its kind where the store tells it, in hand.
    virtual ListingSummary list(PathIndex /*folder*/) { throw missing("list"); }

    virtual void moveFile(PathIndex /*from*/, PathIndex /*to*/) { throw missing("moveFile"); }
    virtual void moveFolder(PathIndex /*from*/, PathIndex /*to*/) { throw missing("moveFolder"); }
    virtual void removeFile(PathIndex /*path*/) { throw missing("removeFile"); }

    /// Opens a file, reads its first `count` bytes and releases it.
    virtual void readFile(PathIndex /*path*/, char* /*buffer*/, std::size_t /*count*/) {
        throw missing("readFile");
    }

    /// Opens a file that is there, replaces its first `count` bytes, which are all it has, and releases it.
    virtual void overwriteFile(PathIndex /*path*/, const char* /*bytes*/, std::size_t /*count*/) {
        throw missing("overwriteFile");
    }

    /// Makes a new file and opens it. Every store can, as scenarios fill it so outside of the timed part.
    /// @param size  what will be written, for stores that must know before; others take no notice of it
    virtual std::unique_ptr<Stream> createStream(PathIndex path, std::uint64_t size) = 0;

    /// Opens a file to write over its bytes from the beginning on.
    virtual std::unique_ptr<Stream> openToOverwrite(PathIndex /*path*/) { throw missing("openToOverwrite"); }

    virtual std::unique_ptr<Stream> openToRead(PathIndex path) = 0;

private:
    static std::logic_error missing(const char* operation) {
        return std::logic_error(std::string("this store has no ") + operation);
    }
};

} // namespace storage::benchmark
