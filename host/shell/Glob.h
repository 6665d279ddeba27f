#pragma once

#include "host/shell/CommandLineLexer.h"
#include "host/shell/PathLookup.h"

#include <string>
#include <vector>

namespace storage::host {

/// Expands words with unquoted "*" and "?" to the paths of the storage or of the disk that match, component by
/// component. Neither wildcard matches a slash; a leading dot needs no special treatment.
///
/// Borrows the lookup. Thread safety: one object is for one thread.
class Glob {
public:
    explicit Glob(const PathLookup& lookup) : lookup_(lookup) {}

    /// The matching paths, spelt like the word (relative if it is) and sorted by their bytes; the word's own
    /// text when it has no wildcard or nothing matches. A path that would look like an option, or like one with a
    /// prefix, is given with "./" in front. Names that UTF-8 cannot spell match nothing.
    std::vector<std::string> expand(const Word& word) const;

private:
    class Component;

    std::vector<std::string> step(const std::vector<std::string>& from, const Component& component) const;
    void addMatches(const std::string& from, const Component& component, std::vector<std::string>& to) const;
    std::size_t prefixLength(const Word& word) const;
    void addLiteral(const std::string& from, const Component& component, std::vector<std::string>& to) const;

    const PathLookup& lookup_;
};

} // namespace storage::host
