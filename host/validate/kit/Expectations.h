#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <functional>
#include <string>
#include <string_view>

namespace storage::host {

class CheckContext;

/// @param reason  what was expected and what was seen, for people, for example "the new file has 3 bytes, not 0"
/// @throws RuleBroken unless it holds
void expect(bool holds, std::string_view reason);

/// @param action     what is to fail with the host's `Exception`
/// @param code       that it is to carry
/// @param location   that it is to name
/// @param operation  for people, for example "creating a file that is there"
/// @throws RuleBroken when the action succeeds or fails otherwise
void expectFailure(const std::function<void()>& action, foundation::storage::provider::ErrorCode code,
                   const foundation::storage::provider::StorageIRI& location, std::string_view operation);

/// @throws CheckSkipped
[[noreturn]] void skip(std::string_view reason);

/// Makes a file with these bytes.
void makeFile(const foundation::storage::provider::IProvider& provider,
              const foundation::storage::provider::StorageIRI& iri, std::string_view bytes);

/// All bytes of a file, through a stream of its own.
std::string contentOf(const foundation::storage::provider::IProvider& provider,
                      const foundation::storage::provider::StorageIRI& iri);

/// As `expectFailure`, and nothing in the check's own folder changes: no entry, no byte, no flag, no time.
void expectRefusal(CheckContext& context, const std::function<void()>& action,
                   foundation::storage::provider::ErrorCode code,
                   const foundation::storage::provider::StorageIRI& location, std::string_view operation);

} // namespace storage::host
