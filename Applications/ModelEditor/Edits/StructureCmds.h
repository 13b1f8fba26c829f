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
    /// @param children  some, see XmlModel::parse().
    InsertCmd(XmlModel& target, const XmlObject& parent, std::vector<NewChildren> children,
              std::string description);
    ~InsertCmd() override;

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
    /// @param ranges  some of the chunks of @p parent.
    DeleteCmd(XmlModel& target, const XmlObject& parent, ChunkRanges ranges, std::string description);
    ~DeleteCmd() override;

    /// @throws what XmlModel::take() throws.
    void execute() override;

    /// @throws what XmlModel::put() throws.
    void undo() override;

private:
    XmlModel& model;
    XmlCutting part;
};

} // namespace ModelEditor
