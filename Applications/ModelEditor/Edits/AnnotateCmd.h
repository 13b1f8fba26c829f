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

/// Gives an object one dynamic attribute, in place of one of the same name if there is one, or takes some away.
///
/// The object is looked up by its path on every execute and undo; an owner of it is told that it has changed.
///
/// Ownership: holds neither the object nor its tree. Thread: the application's main thread only.
class AnnotateCmd : public Valdane::CommandBase
{
public:
    /// @param object  must not be empty (not checked).
    AnnotateCmd(const std::shared_ptr<Valdane::Object>& object, std::string name, std::string text,
                std::string description);

    /// @param object  must not be empty (not checked).
    /// @param names   of the attributes to take away.
    AnnotateCmd(const std::shared_ptr<Valdane::Object>& object, std::vector<std::string> names,
                std::string description);
    ~AnnotateCmd() override;

    /// @throws VdException if the object is gone, or what the object throws if it does not take the
    /// attribute.
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
    std::vector<std::string> names;
    /// What the attribute of that name gets; nothing takes them away.
    std::optional<std::string> text;
    std::shared_ptr<Valdane::DynamicAttributeCollection> previous;
};

} // namespace ModelEditor
