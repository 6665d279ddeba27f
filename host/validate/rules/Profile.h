#pragma once

namespace storage::host {

/// Of which providers a rule holds.
enum class Profile {
    AnyProvider,      ///< of every provider, whatever its storage is made of
    InMemoryProvider, ///< of the in-memory provider alone: where others are free, it is not
};

} // namespace storage::host
