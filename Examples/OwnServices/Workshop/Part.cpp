#include "Workshop/Part.h"

#include "Platform/Parameterization/AttributeDescription.h"

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Workshop
{

using Valdane::Object;
using Valdane::Path;

Part::Part(unsigned partNumber, std::string partName, double partLength)
    : number(partNumber),
      name(std::move(partName)),
      length(partLength),
      lengthAttribute(std::make_shared<Valdane::AttributeDescription<double>>(
          "length", [this] { return getLength(); },
          [this](const double& newLength) { setLength(newLength); }))
{
}

Part::~Part() = default;

void Part::add(const std::shared_ptr<Part>& part)
{
    parts.emplace(part->number, part);
    part->owner = weak_from_this();
}

double Part::getLength() const
{
    return length;
}

void Part::setLength(double newLength)
{
    if (!(newLength > 0))
    {
        throw std::invalid_argument("no part is that short");
    }
    length = newLength;
}

std::shared_ptr<Valdane::AttributeDescription<double>> Part::getLengthAttribute() const
{
    return lengthAttribute;
}

Valdane::Signals::Signal<void(const std::string&)>& Part::getSigRenamed()
{
    return sigRenamed;
}

std::string Part::getName() const
{
    return name;
}

void Part::setName(const std::string& newName, bool notify)
{
    name = newName;
    if (notify)
    {
        sigRenamed(name);
    }
}

std::shared_ptr<Object> Part::getRootObjectAlt()
{
    std::shared_ptr<Part> top = shared_from_this();
    while (const std::shared_ptr<Part> above = top->owner.lock())
    {
        top = above;
    }
    return top;
}

std::shared_ptr<Object> Part::getOwner() const
{
    return owner.lock();
}

Path Part::getPath(Valdane::RequestedPathType type) const
{
    return getPath(nullptr, {}, type);
}

// The top has a number, too, but nothing to be distinguished from.
Path Part::getPath(const Object* /*relativeTo*/, const std::string& attributeName,
                   Valdane::RequestedPathType /*type*/) const
{
    std::vector<unsigned> numbers;
    const Part* part = this;
    while (const std::shared_ptr<Part> above = part->owner.lock())
    {
        numbers.push_back(part->number);
        part = above.get();
    }
    std::ranges::reverse(numbers);
    return {std::move(numbers), attributeName};
}

std::shared_ptr<Object> Part::getObject(const Path& path, Valdane::GetObjectBehavior /*behavior*/)
{
    std::shared_ptr<Part> part = shared_from_this();
    for (const unsigned next : path.getNumbers())
    {
        const auto found = part->parts.find(next);
        if (found == part->parts.end())
        {
            return nullptr;
        }
        part = found->second;
    }
    return part;
}

std::shared_ptr<Valdane::AttributeDescriptionBase>
Part::getAttributeDescription(const std::string& attributeName)
{
    return attributeName == lengthAttribute->getName() ? lengthAttribute : nullptr;
}

} // namespace Workshop
