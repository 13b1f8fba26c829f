#pragma once

#include "Platform/Parameterization/Path.h"

#include <memory>
#include <string>

namespace Valdane
{

class AttributeDescriptionBase;
class DynamicAttributeCollection;

/// What commands ask a part of the product; see Workshop::Part.
///
/// There are neither standard values nor dynamic attributes in this application.
///
/// Ownership: held by `std::shared_ptr`. Thread: the main thread.
class Object
{
public:
    virtual ~Object() = default;

    /// The top of the product.
    virtual std::shared_ptr<Object> getRootObjectAlt() = 0;

    /// The object to whose parts this one belongs; empty at the top.
    virtual std::shared_ptr<Object> getOwner() const = 0;

    /// The way from the top to this object.
    virtual Path getPath(RequestedPathType type) const = 0;

    /// The way to an attribute of this object.
    ///
    /// @param relativeTo     where it begins: the top.
    /// @param attributeName  which need not exist.
    virtual Path getPath(const Object* relativeTo, const std::string& attributeName,
                         RequestedPathType type) const = 0;

    /// Where @p path leads to from this object; empty if a part on the way is missing. The attribute plays no
    /// part.
    virtual std::shared_ptr<Object> getObject(const Path& path, GetObjectBehavior behavior) = 0;

    /// The attribute with that name; empty if there is none.
    virtual std::shared_ptr<AttributeDescriptionBase> getAttributeDescription(const std::string& name) = 0;

    std::shared_ptr<DynamicAttributeCollection> getDynamicAttributeCollection() const
    {
        return nullptr;
    }

    void setDynamicAttributeCollection(const std::shared_ptr<DynamicAttributeCollection>& /*collection*/) {}

    /// For those who show dynamic attributes.
    void emitSigChanged() const {}

    bool isApplyStandardRunning() const
    {
        return false;
    }

    void setApplyStandardRunning(const bool& /*running*/) {}
};

} // namespace Valdane
