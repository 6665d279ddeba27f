#pragma once

#include "host/support/Interruption.h"

#include <span>
#include <string>

namespace storage::host {

/// An open file or folder of the disk.
///
/// Owns the descriptor. Failures are CommandErrors that name the path it was opened by.
/// Thread safety: one object is for one thread.
class FileDescriptor {
public:
    /// @param path   path on disk
    /// @param flags  as for open(2); closed on exec in any case
    /// @param mode   permissions of a file that is created, before the umask
    /// @throws Interrupted when a signal ends an opening that waits
    FileDescriptor(const std::string& path, int flags, unsigned mode = 0);
    /// Opens an entry of an open folder. A symbolic link is not followed, also one that has just taken the entry's place.
    FileDescriptor(const FileDescriptor& folder, const std::string& name, int flags);
    /// Takes over a descriptor that is open already.
    /// @param name  stands for the path in failures
    static FileDescriptor adopt(int number, std::string name);
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor();

    int number() const noexcept { return number_; }
    const std::string& path() const noexcept { return path_; }

    /// Another descriptor of the same open file, which shares its position and its lock.
    FileDescriptor duplicate() const;

    /// Fills `buffer` as far as the file goes.
    /// @return number of bytes, less than the buffer's size only at the end of the file
    /// @throws Interrupted when a signal ends a read that waits
    std::size_t read(std::span<char> buffer, const Interruption& interruption) const;

    /// Writes all of `bytes`.
    void write(std::span<const char> bytes) const;

    /// Closes the file and reports what the system found out only then.
    void close();

private:
    FileDescriptor() = default;

    void open(int folder, const std::string& name, int flags, unsigned mode);

    std::string path_;
    int number_ = -1;
};

} // namespace storage::host
