#pragma once

#include <span>
#include <string>

namespace storage::host {

/// An open file or folder on disk.
///
/// Owns the descriptor. Failures throw a CommandError with the path that was opened. Not thread-safe.
class FileDescriptor {
public:
    /// @param path   path on disk
    /// @param flags  as for open(2); O_CLOEXEC is added
    /// @param mode   permissions of a created file, before the umask is applied
    /// @throws Interrupted when a signal interrupts a blocking open
    FileDescriptor(const std::string& path, int flags, unsigned mode = 0);
    /// Opens an entry of an open folder. Never follows a symbolic link, not even one that replaced the entry
    /// meanwhile.
    FileDescriptor(const FileDescriptor& folder, const std::string& name, int flags);
    /// Takes ownership of an open descriptor.
    /// @param name  replaces the path in error messages
    static FileDescriptor adopt(int number, std::string name);
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor();

    int number() const noexcept { return number_; }
    const std::string& path() const noexcept { return path_; }

    /// Duplicates the descriptor. Both share the file position and the lock of flock(2).
    FileDescriptor duplicate() const;

    /// Reads until `buffer` is full or the file ends.
    /// @return number of bytes, less than the buffer's size only at the end of the file
    /// @throws Interrupted when a signal interrupts a blocking read
    std::size_t read(std::span<char> buffer) const;

    /// Writes all of `bytes`.
    /// @throws Interrupted
    void write(std::span<const char> bytes) const;

    /// Closes the file and reports errors that close(2) returns, such as delayed write errors.
    void close();

private:
    FileDescriptor() = default;

    void open(int folder, const std::string& name, int flags, unsigned mode);

    std::string path_;
    int number_ = -1;
};

} // namespace storage::host
