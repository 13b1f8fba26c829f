#include "Applications/ModelEditor/Edits/DeleteAttributeCmd.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/EditCommands.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"

#include <optional>
#include <utility>

namespace ModelEditor
{

DeleteAttributeCmd::DeleteAttributeCmd(XmlObject& element, std::string attributeName,
                                       std::string commandDescription)
    : DeleteAttributeCmd(element.getRootObjectAlt(), element.getPath(Valdane::RequestedPathType::FromRoot),
                         std::move(attributeName), std::move(commandDescription))
{
}

DeleteAttributeCmd::DeleteAttributeCmd(std::weak_ptr<Valdane::Object> tree, Valdane::Path element,
                                       std::string attributeName, std::string commandDescription)
    : CommandBase(std::move(commandDescription)),
      root(std::move(tree)),
      path(std::move(element)),
      name(std::move(attributeName))
{
}

DeleteAttributeCmd::~DeleteAttributeCmd() = default;

void DeleteAttributeCmd::execute()
{
    taken = findElement()->takeAttribute(name);
}

void DeleteAttributeCmd::undo()
{
    findElement()->putAttribute(taken);
}

const Valdane::Path& DeleteAttributeCmd::getElement() const noexcept
{
    return path;
}

const std::string& DeleteAttributeCmd::getName() const noexcept
{
    return name;
}

std::shared_ptr<XmlObject> DeleteAttributeCmd::findElement() const
{
    const auto tree = root.lock();
    const auto object =
        tree == nullptr ? nullptr : tree->getObject(path, Valdane::GetObjectBehavior::EmptyIfMissing);
    if (object == nullptr)
    {
        throw Valdane::VdException("there is no element at " + path.toString());
    }
    return std::static_pointer_cast<XmlObject>(object);
}

// Attributes that are kept in the collection go with it.
void addAttributeDeletion(EditCommands& commands, const Selected& selected, const std::string& description)
{
    const auto collection = selected.object->getDynamicAttributeCollection();
    if (collection != nullptr && collection->get(selected.name))
    {
        commands.annotate(selected.object, {.name = selected.name, .text = std::nullopt}, description);
        return;
    }
    commands.add(std::make_shared<DeleteAttributeCmd>(*selected.object, selected.name, description));
}

} // namespace ModelEditor
