#pragma once

#include "host/shell/CommandLineLexer.h"

namespace storage::host {

/// Replaces an unquoted "~" at the beginning of a word, alone or before a slash, by the home folder of the
/// user. The inserted text is quoted. "~name" remains as it is.
Word expandTilde(Word word);

} // namespace storage::host
