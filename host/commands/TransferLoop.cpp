#include "host/commands/TransferLoop.h"

#include "host/commands/StorageDestination.h"
#include "host/support/Interruption.h"

namespace storage::host {

void transferEach(Session& session, const std::vector<std::string>& operands,
                  const std::function<void(const StoragePath& source, const StoragePath& target)>& transfer) {
    auto destination = StorageDestination::find(session, operands.back(), operands.size() - 1);
    for (std::size_t i = 0; destination && i + 1 < operands.size(); ++i) {
        Interruption::check();
        session.attempt(operands[i],
                        [&](const StoragePath& source) { transfer(source, destination->of(source.name())); });
    }
}

} // namespace storage::host
