#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"

#include "hostapi/core/except/IInternalException.h"

#include <string>
#include <string_view>

namespace storage::inmemoryprovider {

/// Base class of the internal exceptions: a message that names one entry, fixed at construction.
///
/// `Concrete` is the exception class itself; copies and rethrown objects are of that class.
template <class Concrete>
class EntryException : public foundation::core::except::IInternalException {
public:
    const boost::exception_detail::clone_base* clone() const override {
        return new Concrete(static_cast<const Concrete&>(*this));
    }

    [[noreturn]] void rethrow() const override { throw Concrete(static_cast<const Concrete&>(*this)); }

    std::u16string getMessage() const override { return message_; }

protected:
    /// Terminates the process if allocation fails, so that no exception lacks its message.
    EntryException(const InMemoryEntryPath& path, std::u16string_view suffix) noexcept
        : message_(std::u16string(u"Entry ").append(path.view()).append(suffix)) {}

private:
    std::u16string message_;
};

} // namespace storage::inmemoryprovider
