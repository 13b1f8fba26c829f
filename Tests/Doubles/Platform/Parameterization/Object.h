#pragma once

#include "Journal.h"
#include "Platform/Parameterization/AttributeDescriptionBase.h"
#include "Platform/Parameterization/Path.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace Valdane
{

class DynamicAttributeCollection;

class Object : public std::enable_shared_from_this<Object>
{
public:
    explicit Object(std::string objectName) : name(std::move(objectName)) {}

    virtual ~Object() = default;

    std::shared_ptr<Object> getRootObjectAlt()
    {
        note(name + ".getRootObjectAlt");
        return root.expired() ? shared_from_this() : root.lock();
    }

    Path getPath(RequestedPathType /*type*/) const
    {
        note(name + ".getPath");
        return {name, ""};
    }

    Path getPath(const Object* relativeTo, const std::string& attributeName, RequestedPathType /*type*/) const
    {
        note(name + ".getPath(" + relativeTo->name + ", " + attributeName + ")");
        return {name, attributeName};
    }

    std::shared_ptr<Object> getObject(const Path& path, GetObjectBehavior /*behavior*/)
    {
        note(name + ".getObject(" + path.toString() + ")");
        const auto found = objects.find(path.objectName);
        return found == objects.end() ? nullptr : found->second;
    }

    std::shared_ptr<Object> getOwner() const
    {
        return owner.lock();
    }

    // Not const, as the operation that it stands for.
    // NOLINTNEXTLINE(readability-make-member-function-const)
    std::shared_ptr<DynamicAttributeCollection> getDynamicAttributeCollection()
    {
        note(name + ".getDynamicAttributeCollection");
        return dynamicAttributes;
    }

    void setDynamicAttributeCollection(std::shared_ptr<DynamicAttributeCollection> collection)
    {
        note(name + ".setDynamicAttributeCollection(" + (collection == nullptr ? "null" : "collection") +
             ")");
        dynamicAttributes = std::move(collection);
    }

    void emitSigChanged() const
    {
        note(name + ".emitSigChanged");
        if (onEmitSigChanged)
        {
            onEmitSigChanged();
        }
    }

    bool isApplyStandardRunning() const
    {
        note(name + ".isApplyStandardRunning");
        return applyStandardRunning;
    }

    void setApplyStandardRunning(const bool& running)
    {
        note(name + ".setApplyStandardRunning(" + (running ? "true" : "false") + ")");
        applyStandardRunning = running;
    }

    std::shared_ptr<AttributeDescriptionBase> getAttributeDescription(const std::string& attributeName)
    {
        note(name + ".getAttributeDescription(" + attributeName + ")");
        const auto found = attributes.find(attributeName);
        return found == attributes.end() ? nullptr : found->second;
    }

    std::string name;
    std::weak_ptr<Object> root;
    std::weak_ptr<Object> owner;
    std::map<std::string, std::shared_ptr<Object>> objects;
    std::map<std::string, std::shared_ptr<AttributeDescriptionBase>> attributes;
    std::shared_ptr<DynamicAttributeCollection> dynamicAttributes;
    bool applyStandardRunning = false;
    std::function<void()> onEmitSigChanged;
};

} // namespace Valdane
