#include "Applications/ModelEditor/Edits/StructureCmds.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <utility>

namespace ModelEditor
{

InsertCmd::InsertCmd(XmlModel& target, const XmlObject& parent, std::vector<NewChildren> children,
                     std::string commandDescription)
    : CommandBase(std::move(commandDescription)),
      model(target),
      added(std::move(children)),
      part{.parent = parent.getPath(Valdane::RequestedPathType::FromRoot)}
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
        added = {};
    }
    model.put(part);
}

void InsertCmd::undo()
{
    model.take(part);
}

DeleteCmd::DeleteCmd(XmlModel& target, const XmlObject& parent, ChunkRanges ranges,
                     std::string commandDescription)
    : CommandBase(std::move(commandDescription)),
      model(target),
      part{.parent = parent.getPath(Valdane::RequestedPathType::FromRoot),
           .cutting = {.ranges = std::move(ranges)}}
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

} // namespace ModelEditor
