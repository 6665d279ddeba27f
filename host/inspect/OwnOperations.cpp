#include "host/inspect/OwnOperations.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstddef>
#include <dlfcn.h>
#include <stdexcept>

// In the Itanium C++ ABI, which g++ and clang use on Linux, an object begins with a pointer to its vtable.
// The vtable contains the functions in the order of their declaration. The slot of an inherited function
// contains the same address as in the base class.
namespace storage::host {

using provider::firstOperationSlot;
using provider::IProvider;

namespace {

using Function = const void*;

/// The functions in a vtable follow the offset to top and the type information.
constexpr std::size_t beforeFunctions = 2;

const Function* operationsOf(const IProvider& provider) {
    return *reinterpret_cast<const Function* const*>(&provider) + firstOperationSlot;
}

const Function* hostOperations() {
    const auto* const table =
        static_cast<const Function*>(::dlsym(RTLD_DEFAULT, "_ZTVN10foundation7storage8provider9IProviderE"));
    if (table == nullptr) {
        throw std::runtime_error("cannot find the vtable of the host's IProvider");
    }
    return table + beforeFunctions + firstOperationSlot;
}

} // namespace

OwnOperations ownOperations(const IProvider& provider) {
    const Function* const operations = operationsOf(provider);
    const Function* const defaults = hostOperations();
    OwnOperations own{};
    for (std::size_t i = 0; i < own.size(); ++i) {
        own[i] = operations[i] != defaults[i];
    }
    return own;
}

} // namespace storage::host
