#include "Service/CommandPattern/SetNameCmd.h"

#include "Platform/GeneralServices/NameInterface.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/ObjectLookup.h"

namespace Valdane
{

SetNameCmd::SetNameCmd(std::shared_ptr<Object> object, const std::string& name, const std::string& text)
    : CommandBase(text),
      root(rootOf(object)),
      path(object->getPath(RequestedPathType::FromRoot)),
      newName(name)
{
}

SetNameCmd::SetNameCmd(SetNameCmd&&) noexcept = default;
SetNameCmd& SetNameCmd::operator=(SetNameCmd&&) noexcept = default;
SetNameCmd::~SetNameCmd() = default;

void SetNameCmd::execute()
{
    if (const std::shared_ptr<NameInterface> named = getNameInterface())
    {
        oldName = named->getName();
        named->setName(newName, true);
    }
    else
    {
        oldName = getName();
        setName(newName);
    }
}

void SetNameCmd::undo()
{
    if (const std::shared_ptr<NameInterface> named = getNameInterface())
    {
        named->setName(oldName, true);
    }
    else
    {
        setName(oldName);
    }
}

std::string SetNameCmd::getName()
{
    return {};
}

void SetNameCmd::setName(const std::string& /*name*/) {}

std::shared_ptr<Object> SetNameCmd::getRoot()
{
    return root.lock();
}

std::shared_ptr<Object> SetNameCmd::getObjectToName()
{
    return findObject(root, path);
}

std::string SetNameCmd::getOldName()
{
    return oldName;
}

std::shared_ptr<NameInterface> SetNameCmd::getNameInterface()
{
    return std::dynamic_pointer_cast<NameInterface>(getObjectToName());
}

} // namespace Valdane
