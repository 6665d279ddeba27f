#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() : path_((fs::temp_directory_path() / "host_tests-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) {
        throw std::runtime_error("cannot create a temporary folder");
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    for (fs::recursive_directory_iterator entry(path_, ignored), end; entry != end;
         entry.increment(ignored)) {
        if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
            fs::permissions(entry->path(), fs::perms::owner_all, ignored);
        }
    }
    fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(const std::string& name, const std::string& content) const {
    const std::string path = *this / name;
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

std::string TemporaryFolder::makeFolder(const std::string& name) const {
    fs::create_directories(*this / name);
    return *this / name;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error(path + " cannot be read");
    }
    std::ostringstream content;
    content << file.rdbuf(); // by blocks; an iterator takes most of the time of some unoptimized tests
    return std::move(content).str();
}

std::string namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    std::string joined;
    for (const std::string& name : names) {
        joined += (joined.empty() ? "" : " ") + name;
    }
    return joined;
}
