#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

/// The place of a virtual member function in its class's table, counted from 0; the two places of a
/// destructor count as well. -1 when the function is not virtual.
///
/// By the Itanium C++ ABI for x86-64 a pointer to a virtual member function holds 1 plus the place in bytes.
template <class Member>
std::ptrdiff_t vtableSlot(Member member) {
    static_assert(std::is_member_function_pointer_v<Member>);
    struct {
        std::ptrdiff_t function;
        std::ptrdiff_t adjustment;
    } representation{};
    static_assert(sizeof(representation) == sizeof(member));
    std::memcpy(&representation, &member, sizeof(member));
    if (representation.function % 2 == 0) {
        return -1;
    }
    return (representation.function - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

/// Calls what stands at a place in the object's table, without arguments.
inline void callVtableSlot(void* object, std::ptrdiff_t slot) {
    using Function = void (*)(void*);
    const Function* table = nullptr;
    std::memcpy(&table, object, sizeof(table));
    table[slot](object);
}
