#include "Platform/Parameterization/Object.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescriptionBase.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Platform/Parameterization/Private/ChildTable.h"
#include "Platform/Signals/Signal.h"

#include <list>
#include <unordered_map>
#include <utility>

namespace Valdane
{

namespace
{

struct KeyOfObject
{
    std::string_view operator()(const Object& object) const noexcept
    {
        return object.getKey();
    }
};

using ObjectList = std::list<std::shared_ptr<Object>>;

// The children of destroyed objects that the outermost destructor on this thread has still to release. A
// plain pointer, so that objects may be destroyed as late as thread-local and static ones are.
thread_local ObjectList* released = nullptr;

// Releasing a child from within the destructor of its owner would nest as deep as the tree is.
void releaseWithoutNesting(ObjectList orphans) noexcept
{
    if (released != nullptr)
    {
        released->splice(released->end(), orphans);
        return;
    }
    released = &orphans;
    while (!orphans.empty())
    {
        const auto child = std::move(orphans.front());
        orphans.pop_front();
    }
    released = nullptr;
}

} // namespace

class Object::Children : public Private::ChildTable<KeyOfObject>
{
};

// What most objects do not have.
struct Object::Extras
{
    std::unordered_map<std::string, std::shared_ptr<AttributeDescriptionBase>> attributes;
    std::shared_ptr<DynamicAttributeCollection> dynamicAttributes;
    Signals::Signal<void()> sigChanged;
};

Object::Object(std::string key) : valdaneKeyInOwner(std::move(key)) {}

Object::~Object()
{
    if (valdaneChildren == nullptr)
    {
        return;
    }
    for (const auto& child : valdaneChildren->inOrder())
    {
        child->valdaneOwner = nullptr;
    }
    releaseWithoutNesting(valdaneChildren->release());
}

const std::string& Object::getKey() const noexcept
{
    return valdaneKeyInOwner;
}

void Object::addChild(std::shared_ptr<Object> child)
{
    requireAdoptable(child.get());
    if (findChild(child->valdaneKeyInOwner) != nullptr)
    {
        throw VdException(describe() + " has a child '" + child->valdaneKeyInOwner + "' already");
    }
    if (valdaneChildren == nullptr)
    {
        valdaneChildren = std::make_unique<Children>();
    }
    Object& added = *child;
    valdaneChildren->append(std::move(child));
    added.valdaneOwner = this;
}

std::shared_ptr<Object> Object::removeChild(std::string_view key)
{
    auto child = valdaneChildren == nullptr ? nullptr : valdaneChildren->remove(key);
    if (child != nullptr)
    {
        child->valdaneOwner = nullptr;
    }
    return child;
}

std::shared_ptr<Object> Object::replaceChild(std::shared_ptr<Object> child)
{
    requireAdoptable(child.get());
    if (findChild(child->valdaneKeyInOwner) == nullptr)
    {
        throw VdException(describe() + " has no child '" + child->valdaneKeyInOwner + "' to replace");
    }
    child->valdaneOwner = this;
    auto replaced = valdaneChildren->replace(std::move(child));
    replaced->valdaneOwner = nullptr;
    return replaced;
}

std::shared_ptr<Object> Object::findChild(std::string_view key) const
{
    const auto* found = valdaneChildren == nullptr ? nullptr : valdaneChildren->find(key);
    return found == nullptr ? nullptr : *found;
}

std::vector<std::shared_ptr<Object>> Object::getChildren() const
{
    if (valdaneChildren == nullptr)
    {
        return {};
    }
    return {valdaneChildren->inOrder().begin(), valdaneChildren->inOrder().end()};
}

std::size_t Object::getChildCount() const noexcept
{
    return valdaneChildren == nullptr ? 0 : valdaneChildren->inOrder().size();
}

std::shared_ptr<Object> Object::getOwner() const
{
    return valdaneOwner == nullptr ? nullptr : valdaneOwner->weak_from_this().lock();
}

std::shared_ptr<Object> Object::getRootObjectAlt()
{
    Object* root = this;
    while (root->valdaneOwner != nullptr)
    {
        root = root->valdaneOwner;
    }
    return root->shared_from_this();
}

Path Object::getPath(RequestedPathType /*type*/) const
{
    return Path(keysFrom(nullptr));
}

Path Object::getPath(const Object* relativeTo, const std::string& attributeName,
                     RequestedPathType /*type*/) const
{
    return {keysFrom(relativeTo), attributeName};
}

std::shared_ptr<Object> Object::getObject(const Path& path, GetObjectBehavior /*behavior*/)
{
    const auto keys = path.getKeys();
    if (keys.empty())
    {
        return shared_from_this();
    }
    auto object = findChild(keys.front());
    for (std::size_t level = 1; object != nullptr && level < keys.size(); ++level)
    {
        object = object->findChild(keys[level]);
    }
    return object;
}

void Object::addAttributeDescription(std::shared_ptr<AttributeDescriptionBase> description)
{
    if (description == nullptr)
    {
        throw VdException(describe() + " cannot take an empty attribute description");
    }
    const std::string& name = description->getName();
    if (!requireExtras().attributes.try_emplace(name, description).second)
    {
        throw VdException(describe() + " has an attribute '" + name + "' already");
    }
}

std::shared_ptr<AttributeDescriptionBase> Object::getAttributeDescription(const std::string& name)
{
    if (valdaneExtras == nullptr)
    {
        return {};
    }
    const auto found = valdaneExtras->attributes.find(name);
    return found == valdaneExtras->attributes.end() ? nullptr : found->second;
}

std::shared_ptr<DynamicAttributeCollection> Object::getDynamicAttributeCollection()
{
    return valdaneExtras == nullptr ? nullptr : valdaneExtras->dynamicAttributes;
}

void Object::setDynamicAttributeCollection(std::shared_ptr<DynamicAttributeCollection> collection)
{
    if (collection != nullptr || valdaneExtras != nullptr)
    {
        requireExtras().dynamicAttributes = std::move(collection);
    }
}

void Object::emitSigChanged() const
{
    if (valdaneExtras != nullptr)
    {
        valdaneExtras->sigChanged();
    }
}

Signals::Connection Object::connectToSigChanged(const Signals::Slot<void()>& slot)
{
    return requireExtras().sigChanged.connect(slot);
}

bool Object::isApplyStandardRunning() const
{
    return valdaneApplyStandardRunning;
}

void Object::setApplyStandardRunning(const bool& running)
{
    valdaneApplyStandardRunning = running;
}

std::vector<std::string_view> Object::keysFrom(const Object* top) const
{
    const Object* object = this;
    std::size_t count = 0;
    for (; object != top && object->valdaneOwner != nullptr; object = object->valdaneOwner)
    {
        ++count;
    }
    if (top != nullptr && object != top)
    {
        throw VdException(describe() + " is neither below nor the same as " + top->describe());
    }
    std::vector<std::string_view> keys(count);
    object = this;
    for (auto key = keys.rbegin(); key != keys.rend(); ++key, object = object->valdaneOwner)
    {
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): there are as many keys as owners
        *key = object->valdaneKeyInOwner;
    }
    return keys;
}

// A child without an owner closes a cycle only if this object is below it, which takes a walk up the tree
// only if there is something below it at all.
bool Object::isAboveOrSame(const Object& other) const noexcept
{
    if (valdaneChildren == nullptr)
    {
        return this == &other;
    }
    const Object* object = &other;
    while (object != this && object->valdaneOwner != nullptr)
    {
        object = object->valdaneOwner;
    }
    return object == this;
}

void Object::requireAdoptable(const Object* child) const
{
    if (child == nullptr)
    {
        throw VdException(describe() + " cannot take an empty pointer as a child");
    }
    if (child->valdaneOwner != nullptr)
    {
        throw VdException(describe() + " cannot take " + child->describe() + " as a child: it has an owner");
    }
    if (child->isAboveOrSame(*this))
    {
        throw VdException(describe() + " cannot take the root of its own tree as a child");
    }
}

Object::Extras& Object::requireExtras()
{
    if (valdaneExtras == nullptr)
    {
        valdaneExtras = std::make_unique<Extras>();
    }
    return *valdaneExtras;
}

std::string Object::describe() const
{
    const Object* root = this;
    while (root->valdaneOwner != nullptr)
    {
        root = root->valdaneOwner;
    }
    return "Object '" + getPath(RequestedPathType::FromRoot).toString() + "' of tree '" +
           root->valdaneKeyInOwner + "'";
}

} // namespace Valdane
