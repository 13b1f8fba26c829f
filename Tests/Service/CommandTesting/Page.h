#pragma once

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandTesting/CommandKit.h"
#include "Tests/Support/ScriptedCommand.h"

#include <memory>
#include <string>
#include <utility>

namespace Valdane
{

/// The world of the kit's tests.
struct Page
{
    std::string title = "pump";
    std::string text = "none";

    std::string toText() const
    {
        return "title: " + title + "\ntext: " + text + "\n";
    }
};

inline CommandKit<Page> makePageKit()
{
    return {[] { return std::make_unique<Page>(); },
            [](const Page& page)
            {
                return page.toText();
            }};
}

/// A right command.
class RenameCommand : public CommandBase
{
public:
    RenameCommand(Page& renamedPage, std::string newTitle)
        : CommandBase("Rename to " + newTitle), page(renamedPage), title(std::move(newTitle))
    {
    }

    void execute() override
    {
        std::swap(page.title, title);
    }

    void undo() override
    {
        std::swap(page.title, title);
    }

protected:
    Page& page;
    std::string title;
};

/// Makes RenameCommands.
inline auto renameTo(const std::string& title)
{
    return [title](Page& page)
    {
        return std::make_shared<RenameCommand>(page, title);
    };
}

/// Sets the text to "done", and back. Tests put mistakes into it.
inline std::shared_ptr<ScriptedCommand> makeTextCommand(Page& page)
{
    auto command = std::make_shared<ScriptedCommand>("Write");
    command->onExecute = [&page]
    {
        page.text = "done";
    };
    command->onUndo = [&page]
    {
        page.text = "none";
    };
    return command;
}

/// Makes such commands, with what @p spoil does to them.
template <typename Spoil>
auto spoilt(Spoil spoil)
{
    return [spoil](Page& page)
    {
        auto command = makeTextCommand(page);
        spoil(*command, page);
        return command;
    };
}

} // namespace Valdane
