#include "Service/CommandPattern/ObjectLookup.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"

namespace Valdane
{

std::shared_ptr<Object> rootOf(const std::shared_ptr<Object>& object)
{
    if (object == nullptr)
    {
        throw VdException("A command that edits an object was given none.");
    }
    return object->getRootObjectAlt();
}

std::shared_ptr<Object> findObject(const std::weak_ptr<Object>& root, const Path& path)
{
    const std::shared_ptr<Object> lockedRoot = root.lock();
    if (lockedRoot == nullptr)
    {
        throw VdException("The object tree of '" + path.toString() + "' no longer exists.");
    }
    std::shared_ptr<Object> object = lockedRoot->getObject(path, GetObjectBehavior::EmptyIfMissing);
    if (object == nullptr)
    {
        throw VdException("There is no object at '" + path.toString() + "'.");
    }
    return object;
}

} // namespace Valdane
