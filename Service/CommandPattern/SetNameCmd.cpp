#include "Service/CommandPattern/SetNameCmd.h"

#include "Platform/GeneralServices/NameInterface.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/ObjectLookup.h"

#include <utility>

namespace Valdane
{

SetNameCmd::SetNameCmd(std::shared_ptr<Object> object, const std::string& name, const std::string& text)
    : CommandBase(text),
      valdaneRoot(rootOf(object)),
      valdanePath(object->getPath(RequestedPathType::FromRoot)),
      valdaneNewName(name)
{
}

SetNameCmd::SetNameCmd(std::weak_ptr<Object> root, State state, std::string text)
    : CommandBase(std::move(text)),
      valdaneRoot(std::move(root)),
      valdanePath(std::move(state.path)),
      valdaneNewName(std::move(state.newName)),
      valdaneOldName(std::move(state.oldName))
{
}

SetNameCmd::SetNameCmd(SetNameCmd&&) noexcept = default;
SetNameCmd& SetNameCmd::operator=(SetNameCmd&&) noexcept = default;
SetNameCmd::~SetNameCmd() = default;

void SetNameCmd::execute()
{
    if (const std::shared_ptr<NameInterface> named = getNameInterface())
    {
        valdaneOldName = named->getName();
        named->setName(valdaneNewName, true);
    }
    else
    {
        valdaneOldName = getName();
        setName(valdaneNewName);
    }
}

void SetNameCmd::undo()
{
    if (const std::shared_ptr<NameInterface> named = getNameInterface())
    {
        named->setName(valdaneOldName, true);
    }
    else
    {
        setName(valdaneOldName);
    }
}

SetNameCmd::State SetNameCmd::getState() const
{
    return {.path = valdanePath, .newName = valdaneNewName, .oldName = valdaneOldName};
}

std::string SetNameCmd::getName()
{
    return {};
}

void SetNameCmd::setName(const std::string& /*name*/) {}

std::shared_ptr<Object> SetNameCmd::getRoot()
{
    return valdaneRoot.lock();
}

std::shared_ptr<Object> SetNameCmd::getObjectToName()
{
    return findObject(valdaneRoot, valdanePath);
}

std::string SetNameCmd::getOldName()
{
    return valdaneOldName;
}

std::shared_ptr<NameInterface> SetNameCmd::getNameInterface()
{
    return std::dynamic_pointer_cast<NameInterface>(getObjectToName());
}

} // namespace Valdane
