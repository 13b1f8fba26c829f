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
    : CommandBase(std::move(text)),
      valdaneRoot(rootOf(object)),
      valdanePath(object->getPath(RequestedPathType::FromRoot))
{
}

ClearDynamicAttributesCmd::ClearDynamicAttributesCmd(std::weak_ptr<Object> root, State state,
                                                     std::string text)
    : CommandBase(std::move(text)),
      valdaneRoot(std::move(root)),
      valdanePath(std::move(state.path)),
      valdaneSavedCollection(std::move(state.taken))
{
}

ClearDynamicAttributesCmd::ClearDynamicAttributesCmd(ClearDynamicAttributesCmd&&) noexcept = default;
ClearDynamicAttributesCmd&
ClearDynamicAttributesCmd::operator=(ClearDynamicAttributesCmd&&) noexcept = default;
ClearDynamicAttributesCmd::~ClearDynamicAttributesCmd() = default;

void ClearDynamicAttributesCmd::execute()
{
    const std::shared_ptr<Object> object = findObject(valdaneRoot, valdanePath);
    std::shared_ptr<DynamicAttributeCollection> collection = object->getDynamicAttributeCollection();
    object->setDynamicAttributeCollection(nullptr);
    valdaneSavedCollection = std::move(collection);
    try
    {
        announceChangeOf(*object);
    }
    catch (...)
    {
        // Nobody undoes a command that failed, and one that is redone would save the empty collection.
        object->setDynamicAttributeCollection(std::exchange(valdaneSavedCollection, nullptr));
        throw;
    }
}

void ClearDynamicAttributesCmd::undo()
{
    const std::shared_ptr<Object> object = findObject(valdaneRoot, valdanePath);
    if (valdaneSavedCollection != nullptr)
    {
        object->setDynamicAttributeCollection(valdaneSavedCollection);
        valdaneSavedCollection.reset();
    }
    announceChangeOf(*object);
}

ClearDynamicAttributesCmd::State ClearDynamicAttributesCmd::getState() const
{
    return {.path = valdanePath, .taken = valdaneSavedCollection};
}

} // namespace Valdane
