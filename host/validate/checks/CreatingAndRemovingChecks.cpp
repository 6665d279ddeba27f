#include "host/validate/CheckContext.h"
#include "host/validate/Expectations.h"
#include "host/validate/checks/CheckGroups.h"

#include <array>

namespace storage::host::checks {

using namespace foundation::storage::provider;

namespace {

void newFileIsEmpty(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    provider.doCreateFile(file);
    expect(provider.doFileExists(file), "the new file does not exist");
    expect(contentOf(provider, file).empty(), "the new file has bytes");
}

void creatingOverFileFails(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "kept");
    expectFailure([&] { provider.doCreateFile(file); }, ErrorCode::AlreadyExists, file,
                  "creating a file where a file is");
    expect(contentOf(provider, file) == "kept", "creating a file where a file is changes its bytes");
}

constexpr std::array table{
    Check{"2.1", "creating.new-file-is-empty", "A new file exists and is empty.", Profile::AnyProvider,
          newFileIsEmpty},
    Check{"2.2", "creating.file-over-file", "Creating a file where a file is fails with AlreadyExists.",
          Profile::AnyProvider, creatingOverFileFails},
};

} // namespace

std::span<const Check> creatingAndRemoving() {
    return table;
}

} // namespace storage::host::checks
