#include "Applications/ModelEditor/Document/ObjectsByNode.h"

#include "Applications/ModelEditor/Document/XmlObject.h"

#include <algorithm>
#include <utility>

namespace ModelEditor
{

ObjectsByNode::~ObjectsByNode()
{
    for (const auto& [node, object] : objects)
    {
        object->holder = nullptr;
    }
}

void ObjectsByNode::add(XmlObject& object)
{
    objects.emplace(object.getElement().internal_object(), &object);
    object.holder = this;
}

void ObjectsByNode::remove(pugi::xml_node element) noexcept
{
    if (const auto found = objects.find(element.internal_object()); found != objects.end())
    {
        found->second->holder = nullptr;
        objects.erase(found);
    }
}

XmlObject* ObjectsByNode::find(pugi::xml_node element) const
{
    const auto found = objects.find(element.internal_object());
    return found == objects.end() ? nullptr : found->second;
}

// Twice what is there at least: the table is built again whenever it is asked for another size. A table that has never had
// an entry has one place, but no memory for it.
void ObjectsByNode::makeRoomFor(std::size_t count)
{
    const auto needed = objects.size() + count;
    if (static_cast<float>(needed) >= static_cast<float>(objects.bucket_count()) * objects.max_load_factor())
    {
        objects.reserve(std::max(needed + 1, 2 * objects.size()));
    }
}

void ObjectsByNode::move(pugi::xml_node element, const NodeMap& copies, ObjectsByNode& other) noexcept
{
    auto entry = objects.extract(element.internal_object());
    if (entry.empty())
    {
        return;
    }
    auto& object = *entry.mapped();
    object.rebind(copies);
    object.holder = &other;
    entry.key() = object.getElement().internal_object();
    other.objects.insert(std::move(entry));
}

std::size_t ObjectsByNode::size() const noexcept
{
    return objects.size();
}

} // namespace ModelEditor
