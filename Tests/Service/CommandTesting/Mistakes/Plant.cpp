#include "Tests/Service/CommandTesting/Mistakes/Plant.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"

#include <set>
#include <sstream>
#include <utility>

namespace Valdane::Plants
{
namespace
{

class Marks : public ModuleAccessInterface
{
public:
    explicit Marks(const Object& root)
    {
        for (const std::shared_ptr<Object>& child : root.getChildren())
        {
            modules.push_back(std::dynamic_pointer_cast<Module>(child));
        }
    }

    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        std::set<const Object*> marked;
        for (const std::weak_ptr<Module>& weak : modules)
        {
            const auto module = weak.lock();
            if (module != nullptr && module->isMarked)
            {
                marked.insert(module.get());
            }
        }
        return marked;
    }

    void markAllModulesInBusinessAsUnmodified() override
    {
        for (const std::weak_ptr<Module>& weak : modules)
        {
            if (const auto module = weak.lock())
            {
                module->isMarked = false;
            }
        }
    }

private:
    std::vector<std::weak_ptr<Module>> modules;
};

void describe(Part& part, std::ostream& text)
{
    const std::string& key = part.getKey();
    text << key << ".name: \"" << part.data.name << "\"\n"
         << key << ".flow: " << part.data.flow << "\n"
         << key << ".stages: " << part.data.stages << "\n"
         << key << ".bolts: " << part.data.bolts << "\n"
         << key << ".pressure: " << part.data.pressure << "\n"
         << key << ".open: " << (part.data.isOpen ? "yes" : "no") << "\n"
         << key << ".medium: " << part.data.medium << "\n";
    for (const std::string& note : part.data.notes)
    {
        text << key << ".note: \"" << note << "\"\n";
    }
    if (const auto attributes = part.getDynamicAttributeCollection())
    {
        for (const DynamicAttributeCollection::Entry& entry : *attributes)
        {
            text << key << ".(" << entry.name << "): " << entry.text << "\n";
        }
    }
}

std::shared_ptr<Part> makePart(const std::string& key, PartData data)
{
    return std::make_shared<Part>(key, std::move(data));
}

} // namespace

Plant::Plant(CallOut tellsBefore) : callOut(std::move(tellsBefore))
{
    addModule("Water", {makePart("tank", {.name = "Feed tank", .flow = 8}),
                        makePart("pump", {.name = "Circulation pump of the first loop",
                                          .flow = 4,
                                          .notes = {"check the seal", "oil", "check the seal"}})});
    addModule("Heat", {makePart("burner", {.name = "Gas burner", .flow = 2, .medium = "gas"}),
                       makePart("valve", {.name = "Safety valve", .flow = 1})});
    const auto attributes = std::make_shared<DynamicAttributeCollection>();
    attributes->set("supplier", "Miller and sons");
    getPump().setDynamicAttributeCollection(attributes);
}

Part& Plant::getPart(std::string_view key) const
{
    for (const std::string_view module : {"Water", "Heat"})
    {
        if (const auto part = std::dynamic_pointer_cast<Part>(root->findChild(module)->findChild(key)))
        {
            return *part;
        }
    }
    throw VdException("There is no " + std::string(key) + " in the plant");
}

Part& Plant::getPump() const
{
    return getPart("pump");
}

double Plant::setFlow(Part& part, double flow) noexcept
{
    const double before = std::exchange(part.data.flow, flow);
    totalFlow += flow - before;
    part.mark();
    return before;
}

void Plant::addPart(const std::string& module, std::shared_ptr<Part> part)
{
    root->findChild(module)->addChild(part);
    totalFlow += part->data.flow;
    part->mark();
}

void Plant::removePart(const std::string& module, std::string_view key)
{
    const Part& part = getPart(key);
    part.mark();
    const double flow = part.data.flow;
    root->findChild(module)->removeChild(key);
    totalFlow -= flow;
}

void Plant::writeFile(std::string text)
{
    if (callOut)
    {
        callOut("write file");
    }
    file = std::move(text);
}

std::string Plant::toText() const
{
    std::ostringstream text;
    text << "total flow: " << totalFlow << "\nfile: " << file << "\n";
    for (const std::shared_ptr<Object>& module : root->getChildren())
    {
        text << toText(*module);
    }
    return std::move(text).str();
}

std::string Plant::toText(const Object& module)
{
    std::ostringstream text;
    for (const std::shared_ptr<Object>& part : module.getChildren())
    {
        describe(dynamic_cast<Part&>(*part), text);
    }
    return std::move(text).str();
}

std::vector<ModuleSnapshot> Plant::takeModuleSnapshots() const
{
    std::vector<ModuleSnapshot> snapshots;
    for (const std::shared_ptr<Object>& module : root->getChildren())
    {
        snapshots.push_back({module.get(), module->getKey(), Snapshot(toText(*module))});
    }
    return snapshots;
}

std::shared_ptr<ModuleAccessInterface> Plant::makeModuleAccess() const
{
    return std::make_shared<Marks>(*root);
}

void Plant::addModule(const std::string& name, std::vector<std::shared_ptr<Part>> parts)
{
    root->addChild(std::make_shared<Module>(name));
    for (std::shared_ptr<Part>& part : parts)
    {
        addPart(name, std::move(part));
    }
    std::dynamic_pointer_cast<Module>(root->findChild(name))->isMarked = false;
}

} // namespace Valdane::Plants
