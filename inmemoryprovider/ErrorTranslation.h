#pragma once

#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/FolderNotEmptyException.h"
#include "inmemoryprovider/ReadOnlyException.h"

#include "hostapi/storage/provider/ErrorCode.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <optional>

namespace storage::inmemoryprovider {

/// The host's error for one class of internal exception.
struct HostError {
    /// The location that the error names, for an operation with two locations.
    enum class Location { Source, Destination };

    provider::ErrorCode code;
    Location location = Location::Source;
};

/// The host's error for each class of internal exception in one operation. A class without an entry
/// propagates unchanged.
struct ErrorTranslation {
    std::optional<HostError> notFound = {};
    std::optional<HostError> exists = {};
    std::optional<HostError> readOnly = {};
    std::optional<HostError> notEmpty = {};

    /// Runs `call` and converts its internal exceptions to the host's Exception.
    /// @param source       the location argument of the operation
    /// @param destination  the second one, or the same again
    template <class Call>
    auto run(const provider::StorageIRI& source, const provider::StorageIRI& destination,
             const Call& call) const {
        try {
            return call();
        } catch (const EntryNotFoundException&) {
            raise(notFound, source, destination);
        } catch (const EntryExistsException&) {
            raise(exists, source, destination);
        } catch (const ReadOnlyException&) {
            raise(readOnly, source, destination);
        } catch (const FolderNotEmptyException&) {
            raise(notEmpty, source, destination);
        }
    }

    /// The same for an operation on one location.
    template <class Call>
    auto run(const provider::StorageIRI& iri, const Call& call) const {
        return run(iri, iri, call);
    }

private:
    [[noreturn]] static void raise(const std::optional<HostError>& error, const provider::StorageIRI& source,
                                   const provider::StorageIRI& destination);
};

/// The translation of every operation that has one. FolderNotEmptyException has one code when the folder is
/// to be removed, and deliberately another when it is the destination of a move.
namespace translations {

using enum provider::ErrorCode;
using enum HostError::Location;

inline constexpr ErrorTranslation create{
    .notFound = HostError{NotFound}, .exists = HostError{AlreadyExists}, .readOnly = HostError{ReadOnly}};
inline constexpr ErrorTranslation removeFile{.notFound = HostError{NotFound},
                                             .readOnly = HostError{ReadOnly}};
inline constexpr ErrorTranslation removeFolder{
    .notFound = HostError{NotFound}, .readOnly = HostError{ReadOnly}, .notEmpty = HostError{FolderNotEmpty}};
inline constexpr ErrorTranslation openStream = create;
inline constexpr ErrorTranslation openReadOnlyStream{.notFound = HostError{NotFound}};
inline constexpr ErrorTranslation getAttributes{.notFound = HostError{NotFound}};
inline constexpr ErrorTranslation moveFile{.notFound = HostError{NotFound, Source},
                                           .exists = HostError{AlreadyExists, Destination},
                                           .readOnly = HostError{ReadOnly, Source}};
inline constexpr ErrorTranslation moveFolder{.notFound = HostError{NotFound, Source},
                                             .exists = HostError{AlreadyExists, Destination},
                                             .readOnly = HostError{ReadOnly, Source},
                                             .notEmpty = HostError{AlreadyExists, Destination}};

} // namespace translations

} // namespace storage::inmemoryprovider
