#pragma once

#include "Platform/Parameterization/ParameterizationExport.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Valdane
{

/// The attributes that an object got at run time: named texts, in the order in which they were added.
///
/// Any text is a name. An operation that takes a name compares it with every attribute; the collection is meant
/// for tens of them.
///
/// Thread: the application's main thread only.
class VALDANE_PARAMETERIZATION_EXPORT DynamicAttributeCollection
{
public:
    /// One attribute.
    struct Entry
    {
        std::string name; ///< any text
        std::string text; ///< its value

        /// Both texts are the same.
        bool operator==(const Entry&) const = default;
    };

    /// Over the entries in order.
    using const_iterator = std::vector<Entry>::const_iterator;

    /// Sets the attribute @p name to @p text. A new attribute comes after all others.
    ///
    /// @throws std::bad_alloc; the collection is then unchanged.
    void set(std::string_view name, std::string_view text);

    /// The text of the attribute @p name, or nothing.
    std::optional<std::string> get(std::string_view name) const;

    /// Removes the attribute @p name; the others keep their order. @return whether there was one.
    bool remove(std::string_view name);

    /// The number of attributes.
    std::size_t size() const noexcept;

    /// Iterate over all entries in order. Any change of the collection invalidates the iterators.
    const_iterator begin() const noexcept;
    const_iterator end() const noexcept;

private:
    std::vector<Entry> valdaneEntries;
};

} // namespace Valdane
