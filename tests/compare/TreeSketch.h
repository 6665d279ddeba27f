#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace syscalls {

/// Used instead of a slot number.
inline constexpr std::int64_t currentFolder = -1;

/// An estimate of the current entries by path, and of the current descriptors by slot. Calls that it does not
/// model, such as those relative to a descriptor, make it inexact. More calls then fail, which is harmless.
///
/// Not thread-safe.
class TreeSketch {
public:
    enum class Kind { File, Folder, Link, Other };
    enum class Slot { Empty, File, Folder };

    static constexpr unsigned users = 2;
    static constexpr unsigned slots = 8; ///< for each user

    void make(const std::string& path, Kind kind) { entries_[path] = kind; }
    void link(const std::string& from, const std::string& to);
    void remove(const std::string& path) { entries_.erase(path); }
    void move(const std::string& from, const std::string& to);
    void exchange(const std::string& first, const std::string& second);

    void setSlot(unsigned user, std::int64_t slot, Slot content);
    Slot slot(unsigned user, unsigned slot) const { return slots_[user][slot]; }

    std::vector<std::string> paths() const;
    std::vector<std::string> paths(Kind kind) const;

private:
    std::map<std::string, Kind> entries_;
    std::array<std::array<Slot, slots>, users> slots_{};
};

} // namespace syscalls
