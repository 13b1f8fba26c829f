#pragma once

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Service/CommandPattern/CommandBase.h"

#include <string>

namespace ModelEditor
{

/// Appends modules to a model. Undo takes them out; redo brings the same objects back.
///
/// Ownership: refers to the model, which must live longer than any operation that is called here; owns the
/// modules' objects while they are out. Thread: the application's main thread only.
class ImportCmd : public Valdane::CommandBase
{
public:
    /// @param markup  the modules, see XmlDocument::append().
    ImportCmd(XmlModel& target, std::string markup, std::string description);
    ~ImportCmd() override;

    /// What it was made of.
    const std::string& getMarkup() const noexcept;

    /// @throws what XmlModel::append() throws, nothing being changed.
    void execute() override;

    /// @throws what XmlModel::remove() throws.
    void undo() override;

private:
    XmlModel& model;
    std::string imported;
    XmlPart part;
};

} // namespace ModelEditor
