#include "host/shell/TildeExpansion.h"

#include "host/support/HomeFolder.h"

namespace storage::host {

Word expandTilde(Word word) {
    const bool isTilde = word.text == "~" || word.text.starts_with("~/");
    const auto home = isTilde && !word.quoted.front() ? homeFolder() : std::nullopt;
    if (home) {
        word.text.replace(0, 1, *home);
        word.quoted.erase(word.quoted.begin());
        word.quoted.insert(word.quoted.begin(), home->size(), true);
    }
    return word;
}

} // namespace storage::host
