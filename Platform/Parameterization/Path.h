#pragma once

#include "Platform/Parameterization/ParameterizationExport.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Valdane
{

/// The kind of path that Object::getPath gives.
enum class RequestedPathType
{
    FromRoot = 0, ///< from the root of the tree, or from the object that the call names
};

/// The result of a search for an object that does not exist.
enum class GetObjectBehavior
{
    EmptyIfMissing = 0, ///< an empty pointer
};

/// The way from one object of the tree down to another, or to an attribute of that object.
///
/// A path is a sequence of keys, one per level, and an optional attribute name. Any text is a key or an
/// attribute name: the empty one, one with slashes, quotes or control characters, UTF-8. Renaming an object
/// changes no path.
///
/// A path cannot be changed, only assigned over. Copies share their texts, so copying allocates nothing and never
/// throws. A path is a handle of 24 bytes and one block of memory of about the size of its texts. The path without
/// keys and attribute name has no block. A moved-from path is such a path.
///
/// Thread: safe to read from any thread.
class VALDANE_PARAMETERIZATION_EXPORT Path
{
public:
    /// The path from an object to itself.
    Path() noexcept = default;

    /// The path to an object. @p keys go from the top downwards; they are copied.
    ///
    /// @throws std::bad_alloc
    explicit Path(const std::vector<std::string_view>& keys);

    /// The path to the attribute @p attributeName of the object at @p keys.
    ///
    /// @throws std::bad_alloc
    Path(const std::vector<std::string_view>& keys, std::string_view attributeName);

    /// The keys from the top downwards: views that are valid while this path or a copy of it lives.
    std::vector<std::string_view> getKeys() const&;
    std::vector<std::string_view> getKeys() const&& = delete;

    /// Whether the path leads to an attribute. It then does so even if the attribute's name is empty.
    bool hasAttributeName() const noexcept;

    /// The name of the attribute; empty for the path of an object. Cost: a step per key.
    std::string getAttributeName() const;

    /// The path as one line for messages, such as `/robot/link[2]/mass.value`.
    ///
    /// Every key follows a `/`, the attribute name a `.`; the path without keys starts with `/`. Double quotes
    /// enclose a text that is empty or contains `/`, `.`, `"`, `\` or a control character. Inside the quotes a
    /// backslash precedes `"` and `\`, and a control character is `\x` with two hexadecimal digits. For example,
    /// `/"a.b"/"line\x0a".""` ends in an attribute with an empty name. Different paths give different texts.
    std::string toString() const;

    /// Whether both have the same keys and the same attribute name, or none.
    friend bool operator==(const Path& left, const Path& right) noexcept
    {
        return left.encoded() == right.encoded();
    }

private:
    Path(const std::vector<std::string_view>& keys, const std::string_view* attributeName);

    std::string_view encoded() const noexcept;

    std::shared_ptr<const char[]> bytes;
    std::size_t size = 0;
};

} // namespace Valdane
