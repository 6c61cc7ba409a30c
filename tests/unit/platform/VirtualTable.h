// Objects as a compiled caller sees them: by slot number and by member offset.
#pragma once

#include <cstddef>
#include <cstring>

namespace kal::test {

/// A virtual destructor has two slots in this compiler's tables: the complete and the deleting one.
constexpr size_t destructorSlots = 2;

/// The virtual operation in a slot of the object's table, as a function whose first argument is the object.
template <class Function, class Object>
Function *virtualSlot(const Object &object, size_t slot) {
    void *const *table = nullptr;
    std::memcpy(&table, &object, sizeof table);
    return reinterpret_cast<Function *>(table[slot]);
}

/// The operation behind a leading virtual destructor: 1 is the first one after it.
template <class Function, class Object>
Function *operationSlot(const Object &object, size_t operation) {
    return virtualSlot<Function>(object, destructorSlots - 1 + operation);
}

/// The bytes at an offset of the object, as a trivially copyable type.
template <class Member, class Object>
Member memberAt(const Object &object, size_t offset) {
    Member member;
    std::memcpy(&member, reinterpret_cast<const char *>(&object) + offset, sizeof member);
    return member;
}

} // namespace kal::test
