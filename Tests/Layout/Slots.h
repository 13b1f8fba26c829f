#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace Valdane::Layout
{

// The ABI of Itanium: the pointer to a virtual operation holds the offset of its entry in the table, plus one.
template <typename Operation>
std::size_t slotOf(Operation operation)
{
    std::size_t offset = 0;
    static_assert(sizeof(operation) == 2 * sizeof(offset));
    std::memcpy(&offset, &operation, sizeof(offset));
    EXPECT_EQ(offset % sizeof(void*), 1U) << "not a virtual operation";
    return offset / sizeof(void*);
}

template <typename... Operations>
std::vector<std::size_t> slotsOf(Operations... operations)
{
    return {slotOf(operations)...};
}

// Where the part of a base lies in an object, without an object.
template <typename Base, typename Derived>
std::size_t offsetOf()
{
    alignas(Derived) static std::byte place[sizeof(Derived)];
    auto* const derived = reinterpret_cast<Derived*>(place);
    return static_cast<std::size_t>(reinterpret_cast<std::byte*>(static_cast<Base*>(derived)) - place);
}

// Those that every command has.
template <typename Command>
std::vector<std::size_t> commandSlots()
{
    return slotsOf(&Command::execute, &Command::undo, &Command::redo, &Command::getDescription,
                   &Command::getSpeedRate, &Command::isRedoCapable);
}

} // namespace Valdane::Layout
