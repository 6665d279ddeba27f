#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderOperations.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <array>
#include <cstddef>
#include <optional>
#include <typeinfo>
#include <utility>

namespace storage::tests {

/// Replaces a provider: each operation throws its own index. It shows which operation the tested code calls.
///
/// In the Itanium C++ ABI the caller cleans up after a call that throws, so one function signature works for
/// all operations.
class OperationProbe {
    using IProvider = provider::IProvider;

public:
    /// The object implements every operation. It is never destroyed.
    static IProvider& provider() {
        static const Vtable vtable;
        static const Function* vtablePointer = vtable.functions.data();
        void* object = &vtablePointer;
        return *static_cast<IProvider*>(object);
    }

    /// @param call  receives the provider
    /// @return index in `providerOperations` of the first operation that `call` calls
    template <class Call>
    static std::optional<std::size_t> firstCalledBy(const Call& call) {
        try {
            call(provider());
        } catch (const Called& called) {
            return called.index;
        }
        return std::nullopt;
    }

private:
    struct Called {
        std::size_t index;
    };
    using Function = void (*)();
    static constexpr auto count = provider::providerOperations.size();
    static constexpr auto firstSlot = provider::firstOperationSlot;

    template <std::size_t index>
    static void throwIndex() {
        throw Called{index};
    }

    template <std::size_t... indices>
    static constexpr std::array<Function, firstSlot + count> allSlots(std::index_sequence<indices...>) {
        return {nullptr, nullptr, &throwIndex<indices>...};
    }

    struct Vtable {
        std::ptrdiff_t offsetToTop = 0;
        const std::type_info* type = &typeid(IProvider); // sanitizers read the type information
        std::array<Function, firstSlot + count> functions = allSlots(std::make_index_sequence<count>());
    };
};

} // namespace storage::tests
