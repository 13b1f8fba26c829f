#pragma once

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Edits.h"
#include "Applications/ModelEditor/Edits/ModelModules.h"
#include "Service/CommandTesting/CommandKit.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The testing kit for the commands of the editor, on a small model of an arm.
namespace EditorCommands
{

/// A model beside what notes its changes.
struct EditedModel
{
    explicit EditedModel(const std::function<void()>& tellOfChange);

    ModelEditor::XmlModel model;
    std::shared_ptr<ModelEditor::ModelModules> modules;
    std::vector<std::string> findings;
};

/// The kit for the editor, whose listener may fail once the model is there.
struct EditorKit : Valdane::CommandKit<EditedModel>
{
    /// @param added  what attributes to set in the model: address and text.
    explicit EditorKit(const std::vector<std::vector<std::string>>& added = {});

    EditorKit(const EditorKit&) = delete;
    EditorKit& operator=(const EditorKit&) = delete;
    ~EditorKit() = default;
};

using Maker = Valdane::CommandKit<EditedModel>::Maker;

/// Makers of edits; @p arguments are those of the verb.
Maker edit(ModelEditor::Edit (*make)(const ModelEditor::XmlModel&, const std::vector<std::string>&),
           const std::vector<std::string>& arguments);
Maker structure(ModelEditor::Edit (*make)(ModelEditor::XmlModel&, const std::vector<std::string>&),
                const std::vector<std::string>& arguments);

/// Scales the first value that @p xpath selects.
Maker scale(const std::string& xpath);

/// Appends an element and a text.
std::shared_ptr<Valdane::CommandBase> makeAppend(EditedModel& edited);

} // namespace EditorCommands
