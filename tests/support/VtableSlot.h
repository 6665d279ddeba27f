#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

/// The place of a virtual member function in its class's table, counted from 0; the two places of a
/// destructor count as well. -1 when the function is not virtual.
///
/// By the Itanium C++ ABI a pointer to a virtual member function holds 1 plus the place in bytes. On ARM64, where the address
/// of a function may be odd, it holds the place in bytes, and the lowest bit of the adjustment says that it is one.
template <class Member>
std::ptrdiff_t vtableSlot(Member member) {
    static_assert(std::is_member_function_pointer_v<Member>);
    struct {
        std::ptrdiff_t function;
        std::ptrdiff_t adjustment;
    } representation{};
    static_assert(sizeof(representation) == sizeof(member));
    std::memcpy(&representation, &member, sizeof(member));
#if defined(__aarch64__)
    const bool isVirtual = representation.adjustment % 2 != 0;
    const std::ptrdiff_t offset = representation.function;
#else
    const bool isVirtual = representation.function % 2 != 0;
    const std::ptrdiff_t offset = representation.function - 1;
#endif
    return isVirtual ? offset / static_cast<std::ptrdiff_t>(sizeof(void*)) : -1;
}

/// Calls what stands at a place in the object's table, without arguments.
inline void callVtableSlot(void* object, std::ptrdiff_t slot) {
    using Function = void (*)(void*);
    const Function* table = nullptr;
    std::memcpy(&table, object, sizeof(table));
    table[slot](object);
}
