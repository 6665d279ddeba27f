#include "host/storage/StoragePath.h"

#include "host/support/Utf.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>

namespace storage::host {

StoragePath StoragePath::resolve(const StoragePath& base, std::u16string_view text) {
    StoragePath result = text.starts_with(u'/') ? base.root() : base;
    while (!text.empty()) {
        const std::u16string_view name = text.substr(0, text.find(u'/'));
        text.remove_prefix(std::min(name.size() + 1, text.size()));
        if (name == u"..") {
            result.leave();
        } else if (!name.empty() && name != u".") {
            result.enter(name);
        }
    }
    return result;
}

std::u16string_view StoragePath::name() const noexcept {
    return std::u16string_view(text_).substr(text_.rfind(u'/') + 1);
}

StoragePath StoragePath::parent() const {
    StoragePath result = *this;
    result.leave();
    return result;
}

StoragePath StoragePath::child(std::u16string_view name) const {
    StoragePath result = *this;
    result.enter(name);
    return result;
}

bool StoragePath::contains(const StoragePath& other) const noexcept {
    return storage_ == other.storage_ &&
           (isRoot() || (other.text_.starts_with(text_) &&
                         (other.text_.size() == text_.size() || other.text_[text_.size()] == u'/')));
}

StoragePath StoragePath::rebased(const StoragePath& from, const StoragePath& to) const {
    if (*this == from) {
        return to;
    }
    return to.child(std::u16string_view(text_).substr(from.isRoot() ? 1 : from.text_.size() + 1));
}

void StoragePath::enter(std::u16string_view name) {
    if (!isRoot()) {
        text_ += u'/';
    }
    text_ += name;
}

void StoragePath::leave() {
    text_.resize(std::max<std::size_t>(text_.rfind(u'/'), 1));
}

std::u16string StoragePath::displayed() const {
    return storage_ ? *storage_ + u':' + text_ : text_;
}

std::string StoragePath::printed() const {
    return printable(displayed());
}

provider::StorageIRI StoragePath::iri() const {
    return provider::StorageIRI(text_);
}

} // namespace storage::host
