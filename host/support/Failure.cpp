#include "host/support/Failure.h"

#include "host/support/CommandError.h"
#include "host/support/Utf.h"
#include "hostapi/core/except/IException.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/SystemError.h"

#include <cstdlib>
#include <cxxabi.h>
#include <filesystem>
#include <memory>
#include <new>
#include <system_error>
#include <typeinfo>

namespace storage::host {

using foundation::core::except::IException;
using provider::Exception;
using provider::SystemError;

namespace {

/// "plugin::Trouble".
std::string nameOfCurrentType() {
    const std::type_info* const type = abi::__cxa_current_exception_type();
    if (type == nullptr) { // thrown by another language
        return "unknown";
    }
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type->name(), nullptr, nullptr, &status), &std::free);
    return name ? name.get() : type->name();
}

} // namespace

std::string Failure::reasonOf(const Exception& error) {
    const std::string text = error.what();
    return text.substr(text.rfind(Exception::describe(error.getErrorCode())));
}

Failure Failure::ofCurrentException(const std::string& path) {
    return ofCurrentException(path, FailureDiagnosis());
}

Failure Failure::ofCurrentException(const std::string& path, const FailureDiagnosis& diagnosis) {
    try {
        throw;
    } catch (const CommandError& error) {
        return {error.path(), error.what()};
    } catch (const Exception& error) {
        return {diagnosis.pathPrefix + printable(error.getIRI().getPath()), diagnosis.reason(error)};
    } catch (const SystemError& error) {
        return {diagnosis.pathPrefix + printable(error.getIRI().getPath()), error.code().message()};
    } catch (const std::bad_alloc&) {
        return {path, "out of memory"};
    } catch (const std::filesystem::filesystem_error& error) {
        return {path.empty() ? error.path1().string() : path, error.code().message()};
    } catch (const std::system_error& error) {
        return {path, error.code().message()};
    } catch (const std::exception& error) {
        return {path, error.what()};
    } catch (const IException& error) {
        return {path, error.what()};
    } catch (...) {
        return {path, "an exception of type " + nameOfCurrentType()};
    }
}

std::string Failure::text() const {
    return path.empty() ? reason : path + ": " + reason;
}

} // namespace storage::host
