#pragma once

#include "host/shell/CommandSyntax.h"
#include "host/transfer/TransferOptions.h"
#include "host/transfer/TransferTotals.h"

#include <string>
#include <vector>

namespace storage::host {

/// The options that import and export have in common. Thread safety: one object is for one thread.
class TransferSyntax {
public:
    /// @param syntax  parses the command line while this object lives
    void declare(CommandSyntax& syntax);

    /// What the options of the line say.
    /// @throws UsageError
    TransferOptions options() const;

    bool isQuiet() const noexcept { return isQuiet_; }
    bool isDryRun() const noexcept { return isDryRun_; }

    /// What the command says at its end.
    /// @param done  what was done, in the past tense
    /// @param verb  the same as an infinitive
    std::string summary(const std::string& done, const std::string& verb, const TransferTotals& totals) const;

private:
    std::vector<std::string> includes_;
    std::vector<std::string> excludes_;
    bool isUpdate_ = false;
    bool isDryRun_ = false;
    bool isQuiet_ = false;
};

} // namespace storage::host
