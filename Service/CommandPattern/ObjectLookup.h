#pragma once

#include <memory>

namespace Valdane
{

class Object;
class Path;

/// The root of the tree that @p object belongs to. @throws VdException if @p object is empty
std::shared_ptr<Object> rootOf(const std::shared_ptr<Object>& object);

/// The object to which @p path leads from @p root.
///
/// @throws VdException naming @p path, if @p root no longer exists or there is no object.
std::shared_ptr<Object> findObject(const std::weak_ptr<Object>& root, const Path& path);

} // namespace Valdane
