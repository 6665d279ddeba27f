#include "hostapi/storage/provider/defaults/TemporaryFile.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/defaults/DerivedLocation.h"

#include <random>
#include <string>
#include <string_view>

namespace foundation::storage::provider {

namespace {

/// A unique, unpredictable name, so that concurrent copies neither share a temporary file nor remove each
/// other's.
std::u16string randomName() {
    constexpr std::u16string_view digits = u"0123456789abcdef";
    constexpr int length = 16;
    std::random_device random;
    std::uniform_int_distribution<std::size_t> digit(0, digits.size() - 1);
    std::u16string name = u".copy-";
    for (int i = 0; i < length; ++i) {
        name += digits[digit(random)];
    }
    return name;
}

/// A second attempt practically always succeeds. The limit ends a copy in a storage that refuses every name
/// with AlreadyExists.
constexpr int maxAttempts = 100;

StorageIRI createUnderFreeName(const IProvider& provider, const StorageIRI& place,
                               const StorageIRI& workingFor) {
    for (int attempt = 1;; ++attempt) {
        StorageIRI location = locationBeside(place, randomName());
        try {
            provider.doCreateFile(location);
            return location;
        } catch (const Exception& failure) {
            if (failure.getErrorCode() == ErrorCode::AlreadyExists) {
                if (attempt == maxAttempts) {
                    throw Exception(ErrorCode::AlreadyExists, location);
                }
                continue;
            }
            const bool refusesName =
                failure.getErrorCode() == ErrorCode::NotFound && provider.doFolderExists(folderOf(place));
            throw Exception(failure.getErrorCode(), refusesName ? location : workingFor);
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
        // The original failure is the one to report. This one does not change the result for the caller.
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
    const bool isForCaller = failure.getIRI() == location_ && failure.getErrorCode() != ErrorCode::NotFound;
    throw Exception(failure.getErrorCode(), isForCaller ? workingFor_ : failure.getIRI());
}

} // namespace foundation::storage::provider
