#include "hostapi/storage/provider/defaults/TemporaryFile.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/defaults/DerivedLocation.h"

#include <string>

namespace foundation::storage::provider {

namespace {

// The high half of a surrogate pair: followed by a digit, it stays unpaired whatever the name before it is.
constexpr char16_t unspellable = 0xD800;

StorageIRI candidate(const StorageIRI& place, unsigned long number) {
    std::u16string ending(1, unspellable);
    for (const char digit : std::to_string(number)) {
        ending += static_cast<char16_t>(digit);
    }
    return locationBeside(place, ending);
}

StorageIRI createUnderFreeName(const IProvider& provider, const StorageIRI& place,
                               const StorageIRI& workingFor) {
    for (unsigned long number = 0;; ++number) {
        StorageIRI location = candidate(place, number);
        try {
            provider.doCreateFile(location);
            return location;
        } catch (const Exception& failure) {
            if (failure.getErrorCode() != ErrorCode::AlreadyExists) {
                throw Exception(failure.getErrorCode(), workingFor);
            }
        }
    }
}

} // namespace

TemporaryFile::TemporaryFile(const IProvider& provider, const StorageIRI& place, const StorageIRI& workingFor)
    : provider_(provider),
      place_(place),
      workingFor_(workingFor),
      location_(createUnderFreeName(provider, place, workingFor)) {}

TemporaryFile::~TemporaryFile() {
    if (!isOwned_) {
        return;
    }
    try {
        provider_.doRemoveFile(location_);
    } catch (...) {
        // The failure that brought us here is the one to report; this one changes nothing for the caller.
    }
}

std::unique_ptr<ByteStream> TemporaryFile::open() const {
    try {
        return requireNonNull(
            provider_.doOpenStream(location_, {.existence = ByteStreamExistence::MustExist}), "stream");
    } catch (const Exception& failure) {
        rethrowForCaller(failure);
    }
}

void TemporaryFile::moveIntoPlace(const ReplacementPolicy& policy) {
    try {
        provider_.doMoveFile(location_, place_, policy);
    } catch (const Exception& failure) {
        rethrowForCaller(failure);
    }
    isOwned_ = false;
}

void TemporaryFile::rethrowForCaller(const Exception& failure) const {
    throw Exception(failure.getErrorCode(), failure.getIRI() == location_ ? workingFor_ : failure.getIRI());
}

} // namespace foundation::storage::provider
