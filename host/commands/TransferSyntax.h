#pragma once

#include "host/shell/CommandSyntax.h"
#include "host/transfer/TransferOptions.h"
#include "host/transfer/TransferTotals.h"

#include <string>
#include <vector>

namespace storage::host {

/// The common options of import and export. Not thread-safe.
class TransferSyntax {
public:
    /// @param syntax  parses the command line while this object exists
    void declare(CommandSyntax& syntax);

    /// Converts the parsed options.
    /// @throws UsageError
    TransferOptions options() const;

    bool isQuiet() const noexcept { return isQuiet_; }
    bool isDryRun() const noexcept { return isDryRun_; }

    /// Returns the last line that the command prints.
    /// @param done  the command's verb in the past tense
    /// @param verb  its infinitive, for a dry run
    std::string summary(const std::string& done, const std::string& verb, const TransferTotals& totals) const;

private:
    std::vector<std::string> includes_;
    std::vector<std::string> excludes_;
    bool isUpdate_ = false;
    bool isDryRun_ = false;
    bool isQuiet_ = false;
};

} // namespace storage::host
