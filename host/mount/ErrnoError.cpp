#include "host/mount/ErrnoError.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/SystemError.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>

namespace storage::host {

using provider::ErrorCode;
using provider::Exception;
using provider::SystemError;

namespace {

int errnoOf(ErrorCode code) {
    switch (code) {
    case ErrorCode::FolderNotEmpty:
        return ENOTEMPTY;
    case ErrorCode::ReadOnly:
        return EACCES;
    case ErrorCode::AlreadyExists:
        return EEXIST;
    case ErrorCode::NotFound:
        return ENOENT;
    case ErrorCode::NotOffered:
        return EOPNOTSUPP;
    }
    return EIO;
}

} // namespace

const char* ErrnoError::what() const noexcept {
    return ::strerrordesc_np(number_);
}

int errnoOfCurrentException() noexcept {
    try {
        throw;
    } catch (const ErrnoError& error) {
        return error.number();
    } catch (const Exception& error) {
        return errnoOf(error.getErrorCode());
    } catch (const SystemError& error) {
        return error.code().value();
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    } catch (const std::length_error&) {
        return EFBIG;
    } catch (...) {
        return EIO;
    }
}

} // namespace storage::host
