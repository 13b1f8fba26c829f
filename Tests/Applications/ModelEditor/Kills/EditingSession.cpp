#include "Tests/Applications/ModelEditor/Kills/EditingSession.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Service/CommandPattern/CommandManager.h"

std::string EditingSession::getState()
{
    const auto& manager = getManager();
    std::string state = getModel().toBytes();
    for (const auto& descriptions :
         {manager.collectUndoCommandDescriptions(), manager.collectRedoCommandDescriptions()})
    {
        state += "\n----";
        for (const auto& description : descriptions)
        {
            state += "\n" + description;
        }
    }
    return state;
}
