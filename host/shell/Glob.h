#pragma once

#include "host/shell/CommandLineLexer.h"
#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/IProvider.h"

#include <string>
#include <vector>

namespace storage::host {

/// Expands words with unquoted "*" and "?" to the paths of the storage that match, component by component.
/// Neither wildcard matches a slash; a leading dot needs no special treatment.
///
/// Borrows the provider. Thread safety: one object is for one thread.
class Glob {
public:
    using IProvider = foundation::storage::provider::IProvider;

    /// @param folder  where relative words start
    Glob(const IProvider& provider, const StoragePath& folder) : provider_(provider), folder_(folder) {}

    /// The matching paths, spelt like the word (relative if it is) and sorted by their bytes; the word's own
    /// text when it has no wildcard or nothing matches. A path that would look like an option is given with
    /// "./" in front. Names that UTF-8 cannot spell match nothing.
    std::vector<std::string> expand(const Word& word) const;

private:
    struct Candidate {
        std::string spelling;
        StoragePath path;
    };
    class Component;

    std::vector<Candidate> step(const std::vector<Candidate>& from, const Component& component) const;
    void addMatches(const Candidate& from, const Component& component, std::vector<Candidate>& to) const;
    void addLiteral(const Candidate& from, const Component& component, std::vector<Candidate>& to) const;

    const IProvider& provider_;
    const StoragePath& folder_;
};

} // namespace storage::host
