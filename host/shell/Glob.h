#pragma once

#include "host/shell/CommandLineLexer.h"
#include "host/shell/PathLookup.h"

#include <string>
#include <vector>

namespace storage::host {

/// Expands words with unquoted "*" and "?" to matching paths in the storage or on the disk, component by
/// component. Neither wildcard matches a slash; both match a leading dot.
///
/// Borrows the lookup. Not thread-safe.
class Glob {
public:
    explicit Glob(const PathLookup& lookup) : lookup_(lookup) {}

    /// Returns the matching paths sorted by bytes, relative if the word is relative. If the word has no
    /// wildcard, or nothing matches, returns its text. A path that looks like an option, or that seems to
    /// begin with the name of a storage, gets a leading "./". Names that cannot be converted to bytes
    /// match nothing.
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
