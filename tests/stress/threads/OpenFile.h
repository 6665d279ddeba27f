#pragma once

#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/threads/Random.h"

#include <cstdint>
#include <memory>

namespace storage::stress {

/// An open stream of the test. All writes are whole records, so positions are multiples of the record size
/// and reads return whole records.
///
/// Owns the stream. Externally synchronized.
class OpenFile {
public:
    enum class Access { Read, Write, Append };

    OpenFile(std::unique_ptr<provider::ByteStream> stream, Access access);

    /// Reads, seeks or writes at random.
    /// @throws Violation
    void use(Random& random);

    /// Reads the file from the beginning to the end.
    /// @return number of bytes
    /// @throws Violation
    std::uint64_t readThrough();

private:
    /// @return number of bytes; 0 at the end of the file
    std::uint64_t readSome();
    void seekSomewhere(Random& random);
    void writeSome(Random& random);

    std::unique_ptr<provider::ByteStream> stream_;
    Access access_;
};

} // namespace storage::stress
