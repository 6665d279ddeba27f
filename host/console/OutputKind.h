#pragma once

namespace storage::host {

/// Who reads a stream of the program.
enum class OutputKind {
    Terminal, ///< a person, now
    Plain,    ///< a file, a pipe or a test
};

} // namespace storage::host
