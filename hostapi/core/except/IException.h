#pragma once

#include "hostapi/Export.h"

#include <boost/exception/exception.hpp>

#include <string>

namespace foundation::core::except {

/// Base of the exceptions that pass between hosts, the host libraries and plug-ins.
///
/// An object of unknown class can be copied to the heap (`clone`) and rethrown with its own class
/// (`rethrow`). Both are inherited from Boost.Exception's clone_base. The second base carries
/// Boost.Exception's error information, which copies share by reference count.
///
/// The order of the virtual operations is part of the ABI: clone, rethrow, the two destructor slots, what,
/// both convert_str, getMessage.
///
/// Thread safety: any number of threads may read an object while no thread adds error information to it.
class QZFL_EXPORT IException : public boost::exception_detail::clone_base, public boost::exception {
public:
    IException() = default;
    /// Shares the error information.
    IException(const IException&) = default;
    /// Shares the error information.
    /// @return this exception
    IException& operator=(const IException&) = default;
    ~IException() noexcept override;

    /// The message, for people.
    /// @return the message in UTF-8; an unpaired surrogate becomes U+FFFD
    virtual std::string what() const;

    /// Converts a message, for people.
    /// @param text  in UTF-16
    /// @return the text in UTF-8; each unpaired surrogate becomes U+FFFD
    virtual std::string convert_str(const std::u16string& text) const;

    /// Converts a message, for people.
    /// @param text  in UTF-8
    /// @return the text in UTF-16; each ill-formed sequence becomes U+FFFD
    virtual std::u16string convert_str(const std::string& text) const;

    /// The message.
    /// @return a copy of it, in UTF-16
    virtual std::u16string getMessage() const = 0;
};

} // namespace foundation::core::except
