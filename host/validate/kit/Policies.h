#pragma once

#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <array>
#include <limits>

// Policies that a host can pass, also values without an enumerator.
namespace storage::host::policies {

using provider::ReplacementPolicy;

constexpr ReplacementPolicy unnamed(std::int32_t number) {
    return static_cast<ReplacementPolicy>(number);
}

inline constexpr auto refuse = ReplacementPolicy::RefuseExisting;
inline constexpr auto replace = ReplacementPolicy::ReplaceExisting;
inline constexpr auto refuseFile = ReplacementPolicy::RefuseExistingFile;

inline constexpr std::array withoutName{unnamed(2),
                                        unnamed(3),
                                        unnamed(5),
                                        unnamed(6),
                                        unnamed(-1),
                                        unnamed(std::numeric_limits<std::int32_t>::max()),
                                        unnamed(std::numeric_limits<std::int32_t>::min())};
inline constexpr std::array all{refuse,     replace,    refuseFile, unnamed(2),  unnamed(3),
                                unnamed(5), unnamed(6), unnamed(7), unnamed(-1), unnamed(1 << 30)};

} // namespace storage::host::policies
