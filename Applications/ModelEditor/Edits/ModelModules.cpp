#include "Applications/ModelEditor/Edits/ModelModules.h"

#include "Applications/ModelEditor/Document/XmlObject.h"

#include <utility>

namespace ModelEditor
{

ModelModules::ModelModules(std::shared_ptr<XmlObject> top) : root(std::move(top)) {}

ModelModules::~ModelModules() = default;

void ModelModules::onChanged(const XmlObject& object)
{
    const Valdane::Object* module = &object;
    for (auto owner = module->getOwner(); owner != nullptr && owner != root; owner = owner->getOwner())
    {
        module = owner.get();
    }
    modified.insert(module);
}

void ModelModules::resetTo(std::set<const Valdane::Object*> modules)
{
    modified = std::move(modules);
}

std::set<const Valdane::Object*> ModelModules::getModifiedModulesFromBusiness()
{
    return modified;
}

void ModelModules::markAllModulesInBusinessAsUnmodified()
{
    modified.clear();
}

std::set<const Valdane::Object*> ModelModules::getAllModulesAsModified()
{
    std::set<const Valdane::Object*> all{root.get()};
    for (const auto& module : root->getChildren())
    {
        all.insert(module.get());
    }
    return all;
}

} // namespace ModelEditor
