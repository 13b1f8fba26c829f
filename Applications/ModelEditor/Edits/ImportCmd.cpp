#include "Applications/ModelEditor/Edits/ImportCmd.h"

#include <utility>

namespace ModelEditor
{

ImportCmd::ImportCmd(XmlModel& target, std::string markup, std::string commandDescription)
    : CommandBase(std::move(commandDescription)), model(target), part{.markup = std::move(markup)}
{
}

ImportCmd::~ImportCmd() = default;

void ImportCmd::execute()
{
    model.append(part);
}

void ImportCmd::undo()
{
    model.remove(part);
}

} // namespace ModelEditor
