#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// The slot of a virtual member function in its class's table, as the Itanium C++ ABI encodes
// a pointer to it: one plus the byte offset of the slot. -1 for a non-virtual function.
// Plug-ins are built against the order of these slots, so tests pin it down.
template <typename MemberFunction> int vtableSlot(MemberFunction function)
{
    struct Representation
    {
        std::uintptr_t pointer;
        std::ptrdiff_t adjustment;
    };
    static_assert(sizeof(MemberFunction) == sizeof(Representation),
                  "not an Itanium pointer to member function");
    Representation representation;
    std::memcpy(&representation, &function, sizeof representation);
    if ((representation.pointer & 1) == 0)
        return -1;
    return int((representation.pointer - 1) / sizeof(void*));
}
