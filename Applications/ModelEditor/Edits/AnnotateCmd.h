#pragma once

#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/CommandBase.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Valdane
{
class DynamicAttributeCollection;
class Object;
} // namespace Valdane

namespace ModelEditor
{

/// Changes dynamic attributes of an object.
///
/// The object is looked up by its path on every execute and undo; an owner of it is told that it has changed.
///
/// Ownership: holds neither the object nor its tree. Thread: the application's main thread only.
class AnnotateCmd : public Valdane::CommandBase
{
public:
    /// What becomes of the attribute @p name.
    struct Change
    {
        std::string name;
        std::optional<std::string> text; ///< its value, also of one that is new; nothing takes it away
    };

    /// @param object  must not be empty (not checked).
    AnnotateCmd(const std::shared_ptr<Valdane::Object>& object, std::vector<Change> changes,
                std::string description);

    /// @param tree  the root, from which @p object is the way to the object.
    AnnotateCmd(std::weak_ptr<Valdane::Object> tree, Valdane::Path object, std::vector<Change> changes,
                std::string description);
    ~AnnotateCmd() override;

    /// What it was made of.
    const Valdane::Path& getObject() const noexcept;
    const std::vector<Change>& getChanges() const noexcept;

    /// Adds a change. @pre the command has not been executed (not checked).
    void add(Change change);

    /// @throws VdException if the object is gone, or what the object throws if it does not take the
    /// attributes.
    void execute() override;

    /// Puts the collection back that the object had before.
    ///
    /// @throws VdException if the object is gone.
    void undo() override;

private:
    std::shared_ptr<Valdane::Object> findObject() const;
    static void put(Valdane::Object& object, std::shared_ptr<Valdane::DynamicAttributeCollection> collection);

    std::weak_ptr<Valdane::Object> root;
    Valdane::Path path;
    std::vector<Change> changes;
    std::shared_ptr<Valdane::DynamicAttributeCollection> previous;
};

} // namespace ModelEditor
