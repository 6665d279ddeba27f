#pragma once

#include "host/validate/rules/Profile.h"

namespace storage::host {

class CheckContext;

/// One rule of the contract between hosts and providers, and how it is put to the test. A value.
struct Check {
    const char* number; ///< "GROUP.RULE", for example "4.2"; belongs to this rule for ever
    const char* name;   ///< for example "paths.case-is-kept"
    const char*
        rule; ///< what a provider does, in one line, for example "Names that differ in case are two names."
    Profile profile; ///< of which providers the rule holds
    /// Returns when the rule was kept. Runs in a process of its own, so it may do anything to it.
    /// @throws RuleBroken, CheckSkipped
    void (*run)(CheckContext& context);
};

} // namespace storage::host
