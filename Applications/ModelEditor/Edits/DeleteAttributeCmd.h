#pragma once

#include "Applications/ModelEditor/Document/XmlObject.h"
#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/CommandBase.h"

#include <memory>
#include <string>

namespace ModelEditor
{

class EditCommands;
struct Selected;

/// Takes an attribute of the file away from an element. Undo puts it back to where it was, with the same bytes.
///
/// The element is looked up by its path on every execute and undo.
///
/// Ownership: holds neither the element nor its tree; refers to the document of the attribute, which must live longer.
/// Thread: the application's main thread only.
class DeleteAttributeCmd : public Valdane::CommandBase
{
public:
    DeleteAttributeCmd(XmlObject& element, std::string name, std::string description);

    /// @param tree  the root, from which @p element is the way to the element.
    DeleteAttributeCmd(std::weak_ptr<Valdane::Object> tree, Valdane::Path element, std::string name,
                       std::string description);
    ~DeleteAttributeCmd() override;

    /// What it was made of.
    const Valdane::Path& getElement() const noexcept;
    const std::string& getName() const noexcept;

    /// @throws VdException if the element is gone; what XmlObject::takeAttribute() throws.
    void execute() override;

    /// @throws VdException if the element is gone; what XmlObject::putAttribute() throws.
    void undo() override;

private:
    std::shared_ptr<XmlObject> findElement() const;

    std::weak_ptr<Valdane::Object> root;
    Valdane::Path path;
    std::string name;
    XmlObject::TakenAttribute taken{};
};

/// The command that takes the attribute @p selected away: with or without a prefix, of the file or added since.
void addAttributeDeletion(EditCommands& commands, const Selected& selected, const std::string& description);

} // namespace ModelEditor
