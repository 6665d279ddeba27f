#pragma once

#include "hostapi/storage/provider/ByteStream.h"
#include "tests/stress/threads/Random.h"

#include <cstdint>
#include <memory>

namespace storage::stress {

/// A stream that the storm holds open. All writes are whole records, so every position that it can have is at the
/// beginning of a record, and everything it reads is whole records.
///
/// Owns the stream. For one thread at a time.
class OpenFile {
public:
    enum class Access { Read, Write, Append };

    OpenFile(std::unique_ptr<foundation::storage::provider::ByteStream> stream, Access access);

    /// Reads, seeks or writes something.
    /// @throws Fault
    void use(Random& random);

    /// Reads from the beginning to the end.
    /// @return number of bytes
    /// @throws Fault
    std::uint64_t readThrough();

private:
    /// @return number of bytes; 0 at the end of the file
    std::uint64_t readSome();
    void seekSomewhere(Random& random);
    void writeSome(Random& random);

    std::unique_ptr<foundation::storage::provider::ByteStream> stream_;
    Access access_;
};

} // namespace storage::stress
