#include "Service/CommandPattern/ClearDynamicAttributesCmd.h"

#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/ObjectLookup.h"

#include <utility>

namespace Valdane
{

namespace
{

void announceChangeOf(const Object& object)
{
    if (const std::shared_ptr<Object> owner = object.getOwner())
    {
        owner->emitSigChanged();
    }
}

} // namespace

ClearDynamicAttributesCmd::ClearDynamicAttributesCmd(std::shared_ptr<Object> object, std::string text)
    : CommandBase(std::move(text)), root(rootOf(object)), path(object->getPath(RequestedPathType::FromRoot))
{
}

ClearDynamicAttributesCmd::ClearDynamicAttributesCmd(ClearDynamicAttributesCmd&&) noexcept = default;
ClearDynamicAttributesCmd&
ClearDynamicAttributesCmd::operator=(ClearDynamicAttributesCmd&&) noexcept = default;
ClearDynamicAttributesCmd::~ClearDynamicAttributesCmd() = default;

void ClearDynamicAttributesCmd::execute()
{
    const std::shared_ptr<Object> object = findObject(root, path);
    savedCollection = object->getDynamicAttributeCollection();
    object->setDynamicAttributeCollection(nullptr);
    announceChangeOf(*object);
}

void ClearDynamicAttributesCmd::undo()
{
    const std::shared_ptr<Object> object = findObject(root, path);
    if (savedCollection != nullptr)
    {
        object->setDynamicAttributeCollection(savedCollection);
        savedCollection.reset();
    }
    announceChangeOf(*object);
}

} // namespace Valdane
