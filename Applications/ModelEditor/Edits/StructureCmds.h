#pragma once

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Service/CommandPattern/CommandBase.h"

#include <cstddef>
#include <string>

namespace ModelEditor
{

/// Puts new children into an element. Undo takes them out; redo brings the same objects back.
///
/// The element is looked up by its path on every execute and undo.
///
/// Ownership: refers to the model, which must live longer than any operation that is called here; owns the children's
/// objects while they are out. Thread: the application's main thread only.
class InsertCmd : public Valdane::CommandBase
{
public:
    /// @param parent    the way to the element, from the root.
    /// @param children  some, see XmlModel::parse().
    InsertCmd(XmlModel& target, Valdane::Path parent, std::vector<NewChildren> children,
              std::string description);
    ~InsertCmd() override;

    /// What it was made of.
    const Valdane::Path& getParent() const noexcept;
    const std::vector<NewChildren>& getChildren() const noexcept;

    /// @throws VdException if the element is gone; what XmlModel::parse() and put() throw. Nothing has changed then.
    void execute() override;

    /// @throws what XmlModel::take() throws.
    void undo() override;

private:
    XmlModel& model;
    std::vector<NewChildren> added;
    XmlCutting part;
    bool isParsed = false;
};

/// Takes children out of an element. Undo puts the same objects back, with all that was changed in them.
///
/// The element is looked up by its path on every execute and undo.
///
/// Ownership and thread: as InsertCmd.
class DeleteCmd : public Valdane::CommandBase
{
public:
    /// @param parent  the way to the element, from the root.
    /// @param ranges  some of its chunks.
    DeleteCmd(XmlModel& target, Valdane::Path parent, ChunkRanges ranges, std::string description);
    ~DeleteCmd() override;

    /// What it was made of.
    const Valdane::Path& getParent() const noexcept;
    const ChunkRanges& getRanges() const noexcept;

    /// @throws what XmlModel::take() throws.
    void execute() override;

    /// @throws what XmlModel::put() throws.
    void undo() override;

private:
    XmlModel& model;
    XmlCutting part;
};

} // namespace ModelEditor
