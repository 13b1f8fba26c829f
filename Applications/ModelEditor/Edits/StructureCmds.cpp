#include "Applications/ModelEditor/Edits/StructureCmds.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <utility>

namespace ModelEditor
{

InsertCmd::InsertCmd(XmlModel& target, Valdane::Path parent, std::vector<NewChildren> children,
                     std::string commandDescription)
    : CommandBase(std::move(commandDescription)),
      model(target),
      added(std::move(children)),
      part{.parent = std::move(parent)}
{
}

InsertCmd::~InsertCmd() = default;

void InsertCmd::execute()
{
    if (!isParsed)
    {
        const auto parent =
            model.getRoot()->getObject(part.parent, Valdane::GetObjectBehavior::EmptyIfMissing);
        if (parent == nullptr)
        {
            throw Valdane::VdException("there is no element at " + part.parent.toString());
        }
        part = model.parse(static_cast<XmlObject&>(*parent), added);
        isParsed = true;
    }
    model.put(part);
}

void InsertCmd::undo()
{
    model.take(part);
}

const Valdane::Path& InsertCmd::getParent() const noexcept
{
    return part.parent;
}

const std::vector<NewChildren>& InsertCmd::getChildren() const noexcept
{
    return added;
}

DeleteCmd::DeleteCmd(XmlModel& target, Valdane::Path parent, ChunkRanges ranges,
                     std::string commandDescription)
    : CommandBase(std::move(commandDescription)),
      model(target),
      part{.parent = std::move(parent), .cutting = {.ranges = std::move(ranges)}}
{
}

DeleteCmd::~DeleteCmd() = default;

void DeleteCmd::execute()
{
    model.take(part);
}

void DeleteCmd::undo()
{
    model.put(part);
}

const Valdane::Path& DeleteCmd::getParent() const noexcept
{
    return part.parent;
}

const ChunkRanges& DeleteCmd::getRanges() const noexcept
{
    return part.cutting.ranges;
}

} // namespace ModelEditor
