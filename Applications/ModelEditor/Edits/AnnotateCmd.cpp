#include "Applications/ModelEditor/Edits/AnnotateCmd.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Platform/Parameterization/Object.h"

#include <utility>

namespace ModelEditor
{

using Valdane::DynamicAttributeCollection;
using Valdane::Object;

AnnotateCmd::AnnotateCmd(const std::shared_ptr<Object>& object, std::vector<Change> attributeChanges,
                         std::string commandDescription)
    : AnnotateCmd(object->getRootObjectAlt(), object->getPath(Valdane::RequestedPathType::FromRoot),
                  std::move(attributeChanges), std::move(commandDescription))
{
}

AnnotateCmd::AnnotateCmd(std::weak_ptr<Object> tree, Valdane::Path object,
                         std::vector<Change> attributeChanges, std::string commandDescription)
    : CommandBase(std::move(commandDescription)),
      root(std::move(tree)),
      path(std::move(object)),
      changes(std::move(attributeChanges))
{
}

AnnotateCmd::~AnnotateCmd() = default;

const Valdane::Path& AnnotateCmd::getObject() const noexcept
{
    return path;
}

const std::vector<AnnotateCmd::Change>& AnnotateCmd::getChanges() const noexcept
{
    return changes;
}

void AnnotateCmd::add(Change change)
{
    changes.push_back(std::move(change));
}

void AnnotateCmd::execute()
{
    const auto object = findObject();
    const auto present = object->getDynamicAttributeCollection();
    const auto changed = present == nullptr ? std::make_shared<DynamicAttributeCollection>()
                                            : std::make_shared<DynamicAttributeCollection>(*present);
    for (const auto& [name, text] : changes)
    {
        text ? changed->set(name, *text) : static_cast<void>(changed->remove(name));
    }
    put(*object, changed->size() == 0 ? nullptr : changed);
    previous = present;
}

void AnnotateCmd::undo()
{
    put(*findObject(), previous);
    previous.reset();
}

std::shared_ptr<Object> AnnotateCmd::findObject() const
{
    const auto tree = root.lock();
    auto object =
        tree == nullptr ? nullptr : tree->getObject(path, Valdane::GetObjectBehavior::EmptyIfMissing);
    if (object == nullptr)
    {
        throw Valdane::VdException("there is no object at " + path.toString());
    }
    return object;
}

void AnnotateCmd::put(Object& object, std::shared_ptr<DynamicAttributeCollection> collection)
{
    const auto before = object.getDynamicAttributeCollection();
    object.setDynamicAttributeCollection(std::move(collection));
    try
    {
        if (const auto owner = object.getOwner())
        {
            owner->emitSigChanged();
        }
    }
    catch (...)
    {
        object.setDynamicAttributeCollection(before);
        throw;
    }
}

} // namespace ModelEditor
