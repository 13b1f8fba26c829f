#pragma once

#include <string>
#include <utility>

namespace Valdane
{

/// An attribute of a part, whatever its type.
///
/// Ownership: held by `std::shared_ptr`. Thread: the main thread.
class AttributeDescriptionBase
{
public:
    explicit AttributeDescriptionBase(std::string attributeName) : name(std::move(attributeName)) {}

    AttributeDescriptionBase(const AttributeDescriptionBase&) = delete;
    AttributeDescriptionBase& operator=(const AttributeDescriptionBase&) = delete;
    virtual ~AttributeDescriptionBase() = default;

    /// Every change is announced in this application.
    virtual bool emitsChangedSignal() const
    {
        return true;
    }

    const std::string& getName() const
    {
        return name;
    }

    bool isForStandardEnabled() const
    {
        return false;
    }

private:
    std::string name;
};

} // namespace Valdane
