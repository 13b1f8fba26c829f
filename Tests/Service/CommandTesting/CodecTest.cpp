#include "Page.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace Valdane
{
namespace
{

/// Sets the title, and knows what it was before; its data are these two texts.
class Retitle : public CommandBase
{
public:
    Retitle(Page& titledPage, std::string newTitle, std::string titleBefore)
        : CommandBase("Retitle"), page(titledPage), title(std::move(newTitle)), before(std::move(titleBefore))
    {
    }

    void execute() override
    {
        before = page.title;
        page.title = title;
    }

    void undo() override
    {
        page.title = before;
    }

    bool isRedoCapable() override
    {
        return isKeptForRedo;
    }

    Page& page;
    std::string title;
    std::string before;
    bool isKeptForRedo = true;
};

using Decoding = std::function<void(Retitle&)>;

std::shared_ptr<Retitle> makeRetitle(Page& page)
{
    return std::make_shared<Retitle>(page, "valve", "");
}

/// The codec of Retitle, with what @p change does to each command that is decoded.
auto codecWith(const Decoding& change)
{
    return [change](const CommandBase& command, Page& page)
    {
        const auto& retitle = dynamic_cast<const Retitle&>(command);
        auto decoded = std::make_shared<Retitle>(page, retitle.title, retitle.before);
        change(*decoded);
        return decoded;
    };
}

std::string textOf(const Decoding& change, bool keepsUndo = true)
{
    return makePageKit().codec(makeRetitle, codecWith(change), keepsUndo).toText();
}

const std::string OneMistake = "Codec of \"Retitle\": 1 mistake\n";

TEST(CodecTest, OneThatKeepsAllHasNoMistakes)
{
    EXPECT_EQ(textOf([](Retitle&) {}), "Codec of \"Retitle\": no mistakes\n");
    EXPECT_EQ(textOf([](Retitle& decoded) { decoded.isKeptForRedo = false; }),
              "Codec of \"Retitle\": no mistakes\n");
}

TEST(CodecTest, OneThatLosesWhatUndoNeedsIsFoundIfItClaimsToKeepIt)
{
    const Decoding forget = [](Retitle& decoded)
    {
        decoded.before = "unknown";
    };
    EXPECT_EQ(textOf(forget, false), "Codec of \"Retitle\": no mistakes\n");
    EXPECT_EQ(textOf(forget, true),
              OneMistake +
                  "  After undo() of the decoded command the data are not as before execute() (- expected, "
                  "+ found):\n    - title: pump\n    + title: unknown\n");
}

TEST(CodecTest, OneThatLosesAnArgumentIsFound)
{
    EXPECT_EQ(textOf([](Retitle& decoded) { decoded.title = "lost"; }),
              OneMistake +
                  "  After execute() of the decoded command the data are not as after that of the command "
                  "(- expected, + found):\n    - title: valve\n    + title: lost\n");
}

TEST(CodecTest, OneThatLosesTheLookIsFound)
{
    EXPECT_EQ(textOf([](Retitle& decoded) { decoded.setDescription("?"); }),
              OneMistake + "  The decoded command is described as \"?\", not as \"Retitle\"\n");
    EXPECT_EQ(textOf([](Retitle& decoded) { decoded.setSpeedRate(LegacyProgress::Speed::Rate(1)); }),
              OneMistake + "  The decoded command has the speed rate 1, not 3\n");
}

TEST(CodecTest, OneThatChangesDataIsFound)
{
    EXPECT_EQ(textOf([](Retitle& decoded) { decoded.page.text = "decoded"; }),
              OneMistake +
                  "  When the command was decoded the data are not as before (- expected, + found):\n"
                  "      title: pump\n    - text: none\n    + text: decoded\n");
    const auto encodeWrongly = [](const CommandBase& command, Page& page)
    {
        const auto& retitle = dynamic_cast<const Retitle&>(command);
        retitle.page.text = "encoded";
        return std::make_shared<Retitle>(page, retitle.title, retitle.before);
    };
    EXPECT_EQ(makePageKit().codec(makeRetitle, encodeWrongly, true).toText(),
              OneMistake +
                  "  When the command was encoded the data are not as before (- expected, + found):\n"
                  "      title: valve\n    - text: none\n    + text: encoded\n");
}

TEST(CodecTest, OneThatGivesNoCommandOfItsOwnIsFound)
{
    using Result = std::shared_ptr<CommandBase>;
    const auto none = [](const CommandBase&, Page&)
    {
        return Result();
    };
    EXPECT_EQ(makePageKit().codec(makeRetitle, none, true).toText(),
              OneMistake + "  The codec gives an empty pointer\n");

    std::shared_ptr<CommandBase> made;
    const auto make = [&](Page& page)
    {
        made = makeRetitle(page);
        return made;
    };
    const auto same = [&](const CommandBase&, Page&)
    {
        return made;
    };
    EXPECT_EQ(makePageKit().codec(make, same, true).toText(),
              OneMistake + "  The codec gives the command itself\n");

    const auto refusing = [](const CommandBase&, Page&) -> Result
    {
        throw std::runtime_error("no codec for this class");
    };
    EXPECT_EQ(makePageKit().codec(makeRetitle, refusing, true).toText(),
              OneMistake + "  The codec throws: no codec for this class\n");
}

} // namespace
} // namespace Valdane
