#pragma once

#include <string>

/// A folder on disk that goes away, with all it holds, at the end of a test.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }

    /// The path of an entry in the folder.
    std::string operator/(const std::string& name) const { return path_ + '/' + name; }

    /// Makes a file, and the folders above it, and returns its path.
    std::string write(const std::string& name, const std::string& content) const;

    /// Makes a folder, and those above it, and returns its path.
    std::string makeFolder(const std::string& name) const;

private:
    std::string path_;
};

/// The bytes of a file on disk.
std::string readFile(const std::string& path);

/// The names in a folder on disk, sorted, joined by blanks.
std::string namesIn(const std::string& folder);
