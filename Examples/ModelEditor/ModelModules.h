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

/// Tells the command manager which modules of a model have changed: the children of its root.
///
/// A change of the root itself belongs to no module.
///
/// Ownership: shares the root. Thread: the application's main thread only.
class ModelModules : public Valdane::ModuleAccessInterface
{
public:
    explicit ModelModules(std::shared_ptr<Valdane::Object> top);
    ~ModelModules() override;

    /// Notes that @p object has changed.
    void onChanged(const XmlObject& object);

    std::set<const Valdane::Object*> getModifiedModulesFromBusiness() override;
    void markAllModulesInBusinessAsUnmodified() override;
    std::set<const Valdane::Object*> getAllModulesAsModified() override;

private:
    std::shared_ptr<Valdane::Object> root;
    std::set<const Valdane::Object*> modified;
};

} // namespace ModelEditor
