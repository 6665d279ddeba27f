#include "host/inspect/OwnOperations.h"

#include <cstddef>
#include <dlfcn.h>
#include <stdexcept>

// By the C++ ABI that g++ and clang share on Linux (the Itanium one) an object begins with a pointer to the functions of
// its class in the order of their declaration. A class has the same address there for
// a function that it has inherited as the class that it has it from.
namespace storage::host {

using foundation::storage::provider::firstOperationSlot;
using foundation::storage::provider::IProvider;

namespace {

using Function = const void*;

/// A table of functions begins with the place of the part in the whole object, and the type's description.
constexpr std::size_t beforeFunctions = 2;

const Function* operationsOf(const IProvider& provider) {
    return *reinterpret_cast<const Function* const*>(&provider) + firstOperationSlot;
}

const Function* hostOperations() {
    const auto* const table =
        static_cast<const Function*>(::dlsym(RTLD_DEFAULT, "_ZTVN10foundation7storage8provider9IProviderE"));
    if (table == nullptr) {
        throw std::runtime_error("the host's own operations cannot be found");
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
