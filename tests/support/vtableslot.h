#pragma once

#include <cstdint>
#include <cstring>

// The slot of a virtual function in the table of virtual functions of its class, read from
// a pointer to member function as the Itanium C++ ABI lays it out on x86 (GCC and Clang):
// the slot's offset in bytes plus one. -1 for a function that is not virtual, and on other
// platforms, where VTABLE_SLOTS_KNOWN is 0. In this ABI a destructor takes two slots.
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#define VTABLE_SLOTS_KNOWN 1
#else
#define VTABLE_SLOTS_KNOWN 0
#endif

template <typename MemberFunction> int vtableSlot(MemberFunction function)
{
#if VTABLE_SLOTS_KNOWN
    static_assert(sizeof(MemberFunction) == 2 * sizeof(std::uintptr_t),
                  "a pointer to member function is two words");
    std::uintptr_t words[2];
    std::memcpy(words, &function, sizeof words);
    if ((words[0] & 1) == 0)
        return -1;
    return int((words[0] - 1) / sizeof(void*));
#else
    (void)function;
    return -1;
#endif
}
