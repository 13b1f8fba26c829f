#pragma once

#include "Service/CommandPattern/ModuleAccessInterface.h"

#include <memory>
#include <set>

namespace Valdane
{
class Object;
} // namespace Valdane

namespace ModelEditor
{

class XmlObject;

/// Tells command managers which modules of a model have changed: the children of its root, and the root as
/// the module of its own attributes and texts.
///
/// Ownership: shares the root. Thread: the application's main thread only.
class ModelModules : public Valdane::ModuleAccessInterface
{
public:
    explicit ModelModules(std::shared_ptr<XmlObject> top);
    ~ModelModules() override;

    /// Notes that @p object has changed.
    void onChanged(const XmlObject& object);

    /// Forgets what was noted, and notes @p modules instead.
    void resetTo(std::set<const Valdane::Object*> modules);

    std::set<const Valdane::Object*> getModifiedModulesFromBusiness() override;
    void markAllModulesInBusinessAsUnmodified() override;
    std::set<const Valdane::Object*> getAllModulesAsModified() override;

private:
    std::shared_ptr<XmlObject> root;
    std::set<const Valdane::Object*> modified;
};

} // namespace ModelEditor
