#pragma once

#include "host/session/Session.h"
#include "host/shell/Command.h"
#include "host/storage/ByteStreamDevice.h"

#include <optional>
#include <string>

namespace storage::host {

/// Base class of head and tail: parses the amount to print, and prints headings if there are several files.
class FileEndCommand : public Command {
public:
    void declare(CommandSyntax& syntax) override;
    void run(Session& session, const Words& operands) override;

protected:
    struct Amount {
        enum class Unit { Lines, Bytes };

        Unit unit = Unit::Lines;
        unsigned long long number = 0;
    };

private:
    virtual void print(Session& session, ByteStreamDevice file, const Amount& amount) = 0;

    Amount amount() const;

    std::optional<std::string> lines_;
    std::optional<std::string> bytes_;
};

} // namespace storage::host
