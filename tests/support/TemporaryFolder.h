#pragma once

#include <string>

/// A temporary folder on disk. The destructor removes it with its content.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }

    /// Path of an entry in the folder.
    std::string operator/(const std::string& name) const { return path_ + '/' + name; }

    /// Writes a file, creating missing parent folders. Returns its path.
    std::string write(const std::string& name, const std::string& content) const;

    /// Creates a folder with missing parents. Returns its path.
    std::string makeFolder(const std::string& name) const;

private:
    std::string path_;
};

/// Reads a file on disk.
std::string readFile(const std::string& path);

/// The names in a folder on disk, sorted and separated by blanks.
std::string namesIn(const std::string& folder);
