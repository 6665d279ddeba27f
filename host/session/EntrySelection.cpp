#include "host/session/EntrySelection.h"

#include <algorithm>

namespace storage::host {

EntrySelection::Verdict EntrySelection::ofTop(std::u16string_view name, bool isFolder) const {
    const auto matches = [&](const PathPattern& pattern) {
        return !name.empty() && pattern.matchesName(name, isFolder);
    };
    if (std::any_of(excluded_.begin(), excluded_.end(), matches)) {
        return Verdict::Excluded;
    }
    if (included_.empty() || std::any_of(included_.begin(), included_.end(), matches)) {
        return Verdict::Included;
    }
    return isFolder ? Verdict::Passage : Verdict::Excluded;
}

EntrySelection::Verdict EntrySelection::ofChild(const StoragePath& path, bool isFolder, Verdict above) const {
    const auto matches = [text = std::u16string_view(path.text()).substr(1),
                          isFolder](const PathPattern& pattern) { return pattern.matches(text, isFolder); };
    if (std::any_of(excluded_.begin(), excluded_.end(), matches)) {
        return Verdict::Excluded;
    }
    if (above == Verdict::Included || std::any_of(included_.begin(), included_.end(), matches)) {
        return Verdict::Included;
    }
    return isFolder ? Verdict::Passage : Verdict::Excluded;
}

EntrySelection::Verdict EntrySelection::of(const StoragePath& path, bool isFolder, Verdict top) const {
    Verdict verdict = top;
    const std::u16string& text = path.text();
    for (std::size_t end = 1; end < text.size() && verdict != Verdict::Excluded;) {
        end = std::min(text.find(u'/', end), text.size());
        const bool isLast = end == text.size();
        verdict = ofChild(StoragePath().child(std::u16string_view(text).substr(1, end - 1)),
                          isFolder || !isLast, verdict);
        ++end;
    }
    return verdict;
}

} // namespace storage::host
