#include "host/session/SessionStorage.h"

#include "host/storage/FailureCause.h"
#include "host/support/CommandError.h"
#include "host/support/Utf.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/SystemError.h"

#include <utility>

namespace storage::host {

using provider::Exception;
using provider::SystemError;

SessionStorage::SessionStorage(std::string name, const IProvider& provider, const StoragePath& root)
    : name_(std::move(name)), provider_(provider), root_(root), imports_(root) {}

FailureDiagnosis SessionStorage::diagnosis() const {
    return {[this](const Exception& error) { return causeOf(error, provider_, root_); },
            root_.storage() ? printable(*root_.storage()) + ':' : ""};
}

void SessionStorage::attribute(const std::function<void()>& step) const {
    const auto rethrow = [this] {
        const Failure failure = Failure::ofCurrentException("", diagnosis());
        throw CommandError(failure.path, failure.reason);
    };
    try {
        step();
    } catch (const Exception&) {
        rethrow();
    } catch (const SystemError&) {
        rethrow();
    }
}

} // namespace storage::host
