#include "Tests/Applications/ModelEditor/EditorKit.h"

#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Edits/ImportCmd.h"
#include "Applications/ModelEditor/Edits/ScaleValuesCmd.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"

#include <pugixml.hpp>

#include <new>
#include <span>
#include <sstream>

namespace EditorCommands
{

using namespace ModelEditor;
using Valdane::CommandBase;
using Valdane::ModuleSnapshot;
using Valdane::Snapshot;

namespace
{

// The parser's memory is counted, and fails, like all other.
const bool isParserCounted = []
{
    pugi::set_memory_management_functions([](std::size_t size) { return ::operator new(size, std::nothrow); },
                                          [](void* block) { ::operator delete(block); });
    return true;
}();

const std::string arm = R"(<?xml version="1.0"?>
<!DOCTYPE robot [<!ENTITY nbsp "&#160;"><!ENTITY own "x">]>
<robot name="arm" version="2" xmlns:note="urn:note">
  <link name='base' mass="4.0" count="7" limit="4294967295" fixed="true" note:by="me"/>
  <link name="tip" note:by='you' mass="0.5" note:at="home"><visual>two &amp; more<![CDATA[ <raw> ]]></visual></link>
  <joint type="fixed" link="hip"/>
</robot>
)";

/// What would be saved, what an XPath sees, what the objects have, and what a check has found.
std::string textOf(const EditedModel& edited)
{
    std::string text = edited.model.toBytes();
    for (const auto& finding : edited.findings)
    {
        text += finding + "\n";
    }
    for (const auto& node : edited.model.select("//node() | //@*").nodes)
    {
        text += node.getAddress() + " = " + node.text + "\n";
        const auto annotations = node.object->getDynamicAttributeCollection();
        if (node.part == Part::Element && annotations != nullptr)
        {
            for (const auto& [name, annotation] : *annotations)
            {
                text += "  " + name + ": " + annotation + "\n";
            }
        }
    }
    return text;
}

/// The root as a module has its own attributes and texts, and who its children are.
std::vector<ModuleSnapshot> modulesOf(const EditedModel& edited)
{
    const auto root = edited.model.getRoot();
    std::vector<ModuleSnapshot> modules;
    std::ostringstream own;
    for (const auto& attribute : root->getElement().attributes())
    {
        own << attribute.name() << " = " << attribute.value() << "\n";
    }
    for (const auto& node : root->getElement().children())
    {
        own << (node.type() == pugi::node_element ? "" : node.value());
    }
    for (const auto& child : root->getElements())
    {
        std::ostringstream markup;
        child->getElement().print(markup);
        modules.push_back({child.get(), child->getKey(), Snapshot(markup.str())});
        own << child->getKey() << "\n";
    }
    modules.push_back({root.get(), root->getKey(), Snapshot(own.str())});
    return modules;
}

} // namespace

EditedModel::EditedModel(const std::function<void()>& tellOfChange)
    : model(arm, "arm"), modules(std::make_shared<ModelModules>(model.getRoot()))
{
    model.setChangeListener(
        [this, tellOfChange](const XmlChange& change)
        {
            tellOfChange();
            modules->onChanged(change.object);
            if (change.child != nullptr)
            {
                modules->onChanged(*change.child);
            }
        });
}

EditorKit::EditorKit(const std::vector<std::vector<std::string>>& added)
    : CommandKit(
          [this, added]
          {
              auto isThere = std::make_shared<bool>(false);
              const auto tell = [this, isThere]
              {
                  if (*isThere)
                  {
                      failAt("tell of a change");
                  }
              };
              auto edited = std::make_unique<EditedModel>(tell);
              for (const auto& arguments : added)
              {
                  makeSet(edited->model, arguments).command->execute();
              }
              edited->modules->resetTo({});
              *isThere = true;
              return edited;
          },
          textOf)
{
    setModules([](EditedModel& edited) { return edited.modules; }, modulesOf);
}

Maker structure(Edit (*make)(XmlModel&, const std::vector<std::string>&),
                const std::vector<std::string>& arguments)
{
    return Maker([=](EditedModel& edited) { return make(edited.model, arguments).command; });
}

Maker edit(Edit (*make)(const XmlModel&, const std::vector<std::string>&),
           const std::vector<std::string>& arguments)
{
    return Maker([=](EditedModel& edited) { return make(edited.model, arguments).command; });
}

Maker scale(const std::string& xpath)
{
    return Maker(
        [=](EditedModel& edited)
        {
            const auto selected = edited.model.select(xpath).nodes.at(0);
            return std::make_shared<ScaleValuesCmd>(std::span(&selected, 1), 3.0,
                                                    std::make_shared<ScaleFailures>());
        });
}

std::shared_ptr<CommandBase> makeAppend(EditedModel& edited)
{
    return std::make_shared<ImportCmd>(edited.model, "\n  <link name='hand'/>\n  <tool>drill</tool>",
                                       "Append");
}

} // namespace EditorCommands
