#include "Tests/Service/CommandTesting/Mistakes/Part.h"

#include "Platform/Parameterization/AttributeDescription.h"

#include <memory>
#include <utility>

namespace Valdane::Plants
{

Part::Part(const std::string& key, PartData partData) : Object(key), data(std::move(partData))
{
    addAttribute("pressure", &PartData::pressure);
    addAttribute("stages", &PartData::stages);
    addAttribute("bolts", &PartData::bolts);
    addAttribute("open", &PartData::isOpen);
    addAttribute("medium", &PartData::medium);
}

std::string Part::getName() const
{
    return data.name;
}

void Part::setName(const std::string& name, bool /*notify*/)
{
    data.name = name;
    mark();
}

void Part::setDynamicAttributeCollection(std::shared_ptr<DynamicAttributeCollection> collection)
{
    Object::setDynamicAttributeCollection(std::move(collection));
    mark();
}

void Part::mark() const noexcept
{
    if (const auto module = std::dynamic_pointer_cast<Module>(getOwner()))
    {
        module->isMarked = true;
    }
}

template <typename T>
void Part::addAttribute(const std::string& attribute, T PartData::*member)
{
    addAttributeDescription(std::make_shared<AttributeDescription<T>>(
        attribute, [this, member] { return data.*member; },
        [this, member](const T& value)
        {
            data.*member = value;
            mark();
        }));
}

} // namespace Valdane::Plants
