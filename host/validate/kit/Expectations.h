#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <functional>
#include <string_view>

namespace storage::host {

class CheckContext;

/// @param reason  the expected and the actual result, for example "the new file has 3 bytes, not 0"
/// @throws RuleBroken unless `holds`
void expect(bool holds, std::string_view reason);

/// @param action     must fail with the host's `Exception`
/// @param code       expected code of the exception
/// @param location   expected location of the exception
/// @param operation  for the message, for example "creating an existing file"
/// @throws RuleBroken when the action succeeds or fails otherwise
void expectFailure(const std::function<void()>& action, provider::ErrorCode code,
                   const provider::StorageIRI& location, std::string_view operation);

/// Like `expectFailure`. Also expects that the check's folder stays unchanged: entries, bytes, flags and
/// times.
void expectRefusal(CheckContext& context, const std::function<void()>& action, provider::ErrorCode code,
                   const provider::StorageIRI& location, std::string_view operation);

/// @throws CheckSkipped
[[noreturn]] void skip(std::string_view reason);

} // namespace storage::host
