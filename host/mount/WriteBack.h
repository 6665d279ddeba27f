#pragma once

#include <string>

namespace storage::host {

/// Lets the kernel hold back more of what programs write to a mount than it does for mounts that it does not trust,
/// so that programs and the writing back work side by side instead of taking turns. Only a superuser may ask for that;
/// for others everything stays as it is.
/// @param mountPoint  a mount that answers
void allowMoreWriteBack(const std::string& mountPoint);

} // namespace storage::host
