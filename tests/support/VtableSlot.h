#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

/// The vtable slot of a member function, counted from 0. Each of the two destructors counts as a slot.
/// Returns -1 if the function is not virtual.
///
/// In the Itanium C++ ABI a pointer to a virtual member function holds 1 plus the slot's offset in bytes. On
/// ARM64 function addresses may be odd, so it holds the offset itself, and the lowest bit of the adjustment
/// marks it as virtual.
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

/// Calls the function in a slot of the object's vtable without arguments.
inline void callVtableSlot(void* object, std::ptrdiff_t slot) {
    using Function = void (*)(void*);
    const Function* table = nullptr;
    std::memcpy(&table, object, sizeof(table));
    table[slot](object);
}
