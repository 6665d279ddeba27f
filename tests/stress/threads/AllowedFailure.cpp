#include "tests/stress/threads/AllowedFailure.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/threads/PathUniverse.h"

namespace storage::stress {

using provider::Exception;
using provider::StorageIRI;

namespace {

std::u16string_view folderOf(std::u16string_view path) {
    return path.substr(0, path.rfind(u'/'));
}

bool isNamed(const StorageIRI& iri, AllowedFailure::Named named, const Attempt& attempt) {
    const auto& path = iri.getResolvedPath();
    const auto& source = attempt.source.getResolvedPath();
    switch (named) {
    case AllowedFailure::Named::Source:
        return iri == attempt.source;
    case AllowedFailure::Named::Destination:
        return iri == attempt.destination;
    case AllowedFailure::Named::SourceOrAbove:
        return isPossible(path) && isSelfOrBelow(source, path);
    case AllowedFailure::Named::SourceOrBelow:
        return isPossible(path) && isSelfOrBelow(path, source);
    case AllowedFailure::Named::TemporaryFile:
        return isTemporary(path) && folderOf(path) == folderOf(attempt.destination.getResolvedPath());
    }
    return false;
}

} // namespace

bool AllowedFailure::allows(const Exception& failure, const Attempt& attempt) const {
    return failure.getErrorCode() == code && isNamed(failure.getIRI(), named, attempt);
}

} // namespace storage::stress
