#include "Service/Journal/CommandCodecs.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/ClearDynamicAttributesCmd.h"
#include "Service/CommandPattern/DelayedInitializedCommand.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/SetNameCmd.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/CommandKit.h"
#include "Service/CommandTesting/GoogleTest.h"
#include "Service/Journal/CoreCodecs.h"
#include "Tests/Service/Journal/Sheet.h"
#include "Tests/Support/MessageOf.h"
#include "Tests/Support/NamedObject.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>

namespace Valdane
{
namespace
{

using Json = CommandCodecs::Json;
using testing::HasSubstr;
using CodecKeeps = CommandCodecs::Keeps;

/// A pump with a value of each type, and a colour that is dynamic.
struct Works
{
    Works()
    {
        root->addChild(pump);
        addAttribute("int", anInt);
        addAttribute("unsigned", anUnsigned);
        addAttribute("double", aDouble);
        addAttribute("text", aText);
        addAttribute("bool", aBool);
        auto colours = std::make_shared<DynamicAttributeCollection>();
        colours->set("colour", "red\xFF");
        colours->set("", "");
        pump->setDynamicAttributeCollection(colours);
    }

    template <typename T>
    void addAttribute(const std::string& name, T& value)
    {
        pump->addAttributeDescription(std::make_shared<AttributeDescription<T>>(
            name, [&value] { return value; }, [&value](const T& newValue) { value = newValue; }));
    }

    std::string text() const
    {
        std::string text = pump->shownName + "\n" + std::to_string(anInt) + "\n" +
                           std::to_string(anUnsigned) + "\n" + std::to_string(aDouble) + "\n" + aText + "\n" +
                           std::to_string(aBool) + "\n";
        const auto colours = pump->getDynamicAttributeCollection();
        if (colours != nullptr)
        {
            for (const DynamicAttributeCollection::Entry& entry : *colours)
            {
                text += entry.name + "=" + entry.text + "\n";
            }
        }
        return text;
    }

    Path pathOf(const std::string& attribute) const
    {
        return pump->getPath(root.get(), attribute, RequestedPathType::FromRoot);
    }

    std::shared_ptr<Object> root = std::make_shared<Object>("works");
    std::shared_ptr<NamedObject> pump = std::make_shared<NamedObject>("pump");
    int anInt = std::numeric_limits<int>::min();
    unsigned int anUnsigned = std::numeric_limits<unsigned int>::max();
    double aDouble = 0.1;
    std::string aText = "a\nb";
    bool aBool = true;
};

CommandKit<Works> makeWorksKit()
{
    return {[] { return std::make_unique<Works>(); },
            [](const Works& works)
            {
                return works.text();
            }};
}

/// As a file has it.
std::shared_ptr<CommandBase> copyOf(const CommandBase& command, Works& works)
{
    CommandCodecs codecs;
    addCoreCodecs(codecs, [&works] { return works.root; });
    return codecs.decode(Json::from_cbor(Json::to_cbor(codecs.encode(command))));
}

template <typename T>
auto makeSet(const std::string& attribute, T value)
{
    return [attribute, value](Works& works)
    {
        return std::make_shared<SetAttributeCmd<T>>(works.root, works.pathOf(attribute), value, "");
    };
}

std::shared_ptr<CommandBase> makeRename(Works& works)
{
    return std::make_shared<SetNameCmd>(works.pump, "new\xFE name", "Rename");
}

std::shared_ptr<CommandBase> makeClear(Works& works)
{
    return std::make_shared<ClearDynamicAttributesCmd>(works.pump, "Clear");
}

template <typename Macro>
std::shared_ptr<Macro> filled(std::shared_ptr<Macro> macro, Works& works)
{
    macro->addCommand(makeRename(works));
    auto inner = std::make_shared<MacroCommand>();
    inner->addCommand(makeClear(works));
    inner->addCommand(makeSet("bool", false)(works));
    inner->setDescription("inner");
    inner->setUseForwardUndoOrder(true);
    macro->addCommand(inner);
    macro->addCommand(std::make_shared<MacroCommand>());
    macro->addCommand(makeSet("int", 7)(works));
    macro->setDescription("all of it");
    return macro;
}

TEST(CoreCodecs, CommandsOfTheLibraryComeBackWithWhatUndoNeeds)
{
    const auto kit = makeWorksKit();
    EXPECT_TRUE(kit.codec(makeSet("int", 7), copyOf, true));
    EXPECT_TRUE(kit.codec(makeSet("unsigned", 7U), copyOf, true));
    EXPECT_TRUE(kit.codec(makeSet("double", -std::numeric_limits<double>::infinity()), copyOf, true));
    EXPECT_TRUE(kit.codec(makeSet("text", std::string("\0\xFF", 2)), copyOf, true));
    EXPECT_TRUE(kit.codec(makeSet("bool", false), copyOf, true));
    EXPECT_TRUE(kit.codec(makeRename, copyOf, true));
    EXPECT_TRUE(kit.codec(makeClear, copyOf, true));
    EXPECT_TRUE(kit.codec([](Works& works) { return filled(std::make_shared<MacroCommand>(), works); },
                          copyOf, true));
    EXPECT_TRUE(kit.codec([](Works& works)
                          { return filled(std::make_shared<ThreadedMacroCommand>("threads"), works); },
                          copyOf, true));
    const auto makeDelayed = [](Works& works)
    {
        return std::make_shared<DelayedInitializedCommand>(
            [&works] { return filled(std::make_shared<MacroCommand>(), works); });
    };
    EXPECT_TRUE(kit.codec(makeDelayed, copyOf, true));
}

TEST(CoreCodecs, KeepHowAMacroWorks)
{
    Works works;
    ThreadedMacroCommand macro("threads");
    macro.setUseForwardUndoOrder(true);
    macro.setContinueOnException(true);
    macro.setFailCountToThrow(3);
    macro.setSpeedRate(LegacyProgress::Speed::Rate(5));
    const auto copy = std::dynamic_pointer_cast<ThreadedMacroCommand>(copyOf(macro, works));
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(copy->getUseForwardUndoOrder());
    EXPECT_TRUE(copy->continueOnException());
    EXPECT_EQ(copy->getFailCountToThrow(), 3);
    EXPECT_EQ(copy->CommandBase::getSpeedRate(), 5);
}

TEST(CoreCodecs, KeepInWhichOrderAMacroIsUndone)
{
    Works works;
    MacroCommand macro;
    for (const bool isForward : {false, true})
    {
        macro.setUseForwardUndoOrder(isForward);
        const auto copy = std::dynamic_pointer_cast<MacroCommand>(copyOf(macro, works));
        EXPECT_EQ(copy->getUseForwardUndoOrder(), isForward);
    }
}

TEST(CoreCodecs, KeepWhetherAnAttributeWasSetWhileTheStandardWasApplied)
{
    Works works;
    for (const bool isRunning : {false, true})
    {
        const SetAttributeCmd<int> command(works.root, {works.pathOf("int"), 2, 1, isRunning}, "");
        const auto copy = std::dynamic_pointer_cast<SetAttributeCmd<int>>(copyOf(command, works));
        EXPECT_EQ(copy->getState().applyStandardRunning, isRunning);
    }
}

TEST(CoreCodecs, ADoubleComesBackExactly)
{
    Works works;
    for (const double value : {0.1, -0.0, std::numeric_limits<double>::denorm_min(), 1e300})
    {
        const SetAttributeCmd<double> command(works.root, {works.pathOf("double"), value, value, false}, "");
        const auto copy = std::dynamic_pointer_cast<SetAttributeCmd<double>>(copyOf(command, works));
        const double found = copy->getState().newValue;
        EXPECT_EQ(std::memcmp(&found, &value, sizeof value), 0) << value;
    }
}

TEST(CoreCodecs, PathsAndCollectionsAreValues)
{
    const Works works;
    for (const Path& path : {Path(), works.pathOf("int"), works.pump->getPath(RequestedPathType::FromRoot)})
    {
        EXPECT_EQ(Json(path).get<Path>(), path);
    }
    const Json colours = *works.pump->getDynamicAttributeCollection();
    EXPECT_TRUE(colours == Json::array({{"colour", "red\xFF"}, {"", ""}}));
    Works other;
    other.pump->setDynamicAttributeCollection(
        std::make_shared<DynamicAttributeCollection>(colours.get<DynamicAttributeCollection>()));
    EXPECT_EQ(other.text(), works.text());
}

class CodecsOfAnApplication : public testing::Test
{
protected:
    CodecsOfAnApplication()
    {
        addCoreCodecs(codecs, [] { return nullptr; });
        addTypeDigit(codecs, sheet, CodecKeeps::Undo);
    }

    std::shared_ptr<TypeDigit> makeDigit()
    {
        return std::make_shared<TypeDigit>(sheet, 1, 5);
    }

    std::string failureOf(const std::string& data) const
    {
        return messageOf([&] { codecs.decode(Json::parse(data)); });
    }

    Sheet sheet;
    CommandCodecs codecs;
};

struct Unknown : public MacroCommand
{
};

TEST_F(CodecsOfAnApplication, AClassWithoutOneIsToldByName)
{
    auto macro = std::make_shared<MacroCommand>();
    macro->addCommand(makeDigit());
    EXPECT_EQ(codecs.findMissing(*macro), "");
    auto inner = std::make_shared<Unknown>();
    macro->addCommand(inner);
    macro->addCommand(makeDigit());
    EXPECT_THAT(codecs.findMissing(*macro), HasSubstr("Unknown"));
    EXPECT_THAT(messageOf([&] { codecs.encode(*macro); }), HasSubstr("Unknown"));
    EXPECT_THAT(messageOf([&] { codecs.keepsUndo(*macro); }), HasSubstr("There is no codec for the class"));

    codecs.writeUnknownMacrosAsPlain();
    inner->addCommand(makeDigit());
    EXPECT_EQ(codecs.findMissing(*macro), "");
    const auto copy = std::dynamic_pointer_cast<MacroCommand>(codecs.decode(codecs.encode(*macro)));
    ASSERT_EQ(copy->size(), 3U);
    const CommandBase& second = **std::next(copy->begin());
    EXPECT_EQ(typeid(second), typeid(MacroCommand));
}

TEST_F(CodecsOfAnApplication, ACommandKeepsUndoIfAllInItDo)
{
    struct Forgetful : TypeDigit
    {
        using TypeDigit::TypeDigit;
    };

    codecs.add<Forgetful>(
        "forgetful", 1, CodecKeeps::Arguments, [](const Forgetful&) { return Json(); },
        [this](const Json&, std::uint32_t) { return std::make_shared<Forgetful>(sheet, 0, 1); });
    auto macro = std::make_shared<MacroCommand>();
    macro->addCommand(makeDigit());
    EXPECT_TRUE(codecs.keepsUndo(*macro));
    macro->addCommand(std::make_shared<Forgetful>(sheet, 0, 1));
    macro->addCommand(makeDigit());
    EXPECT_FALSE(codecs.keepsUndo(*macro));
}

TEST_F(CodecsOfAnApplication, AClassAndANameHaveOneCodec)
{
    const auto encode = [](const Unknown&)
    {
        return Json();
    };
    const auto decode = [](const Json&, std::uint32_t)
    {
        return std::make_shared<Unknown>();
    };
    EXPECT_THAT(messageOf([&] { codecs.add<Unknown>("type-digit", 1, CodecKeeps::Undo, encode, decode); }),
                HasSubstr("'type-digit' already"));
    codecs.add<Unknown>("unknown", 1, CodecKeeps::Undo, encode, decode);
    EXPECT_THAT(messageOf([&] { codecs.add<Unknown>("another", 1, CodecKeeps::Undo, encode, decode); }),
                HasSubstr("Unknown"));
}

TEST_F(CodecsOfAnApplication, DataOfAnOlderVersionAreReadAndOfANewerOneRefused)
{
    const auto old = codecs.decode(Json::parse(
        R"([["type-digit", 1, "typed", 3, 0, {"cell": 1, "digits": 4, "factor": 10, "redo": true}]])"));
    EXPECT_EQ(old->getDescription(), "typed");
    EXPECT_EQ(std::dynamic_pointer_cast<TypeDigit>(old)->old, -1) << "the first version did not have it";
    EXPECT_EQ(failureOf(R"([["type-digit", 3, "", 3, 0, {}]])"),
              "The command is of version 3 of 'type-digit', and this program knows only up to version 2.");
    EXPECT_EQ(
        failureOf(R"([["type-digit", 4294967297, "", 3, 0, {}]])"),
        "The command is of version 4294967297 of 'type-digit', and this program knows only up to version 2.");
}

TEST_F(CodecsOfAnApplication, WhatIsNoCommandIsRefused)
{
    const std::string none = "These are not the data of a command.";
    for (const char* data :
         {"null", "1", "[]", "[[]]", "{}", R"([["valdane.macro", 1, "", 3, 1, false]])",
          R"([["valdane.macro", 1, "", 3, 0]])", R"([[1, 1, "", 3, 0, false]])",
          R"([["valdane.macro", -1, "", 3, 0, false]])", R"([["valdane.macro", 1, 1, 3, 0, false]])",
          R"([["valdane.macro", 1, "", "", 0, false]])", R"([["valdane.macro", 1, "", 3, -1, false]])",
          R"([["valdane.macro", 1, "", 3, 0, false], ["valdane.macro", 1, "", 3, 0, false]])"})
    {
        EXPECT_EQ(failureOf(data), none) << data;
    }
    EXPECT_EQ(failureOf(R"([["gone", 1, "", 3, 0, false]])"), "There is no codec 'gone'.");
    EXPECT_EQ(
        failureOf(R"([["type-digit", 2, "", 3, 1, {"cell": 1, "digits": 4, "factor": 10, "redo": true}]])"),
        "The codec 'type-digit' made no macro.");
    EXPECT_THAT(failureOf(R"([["type-digit", 2, "", 3, 0, {}]])"),
                HasSubstr("The codec 'type-digit' cannot read a command: "));
}

TEST_F(CodecsOfAnApplication, ACodecThatMakesNothingIsRefused)
{
    codecs.add<Unknown>(
        "nothing", 1, CodecKeeps::Undo, [](const Unknown&) { return Json(); },
        [](const Json&, std::uint32_t) { return std::shared_ptr<Unknown>(); });
    EXPECT_EQ(failureOf(R"([["nothing", 1, "", 3, 0, null]])"), "The codec 'nothing' made no command.");
}

TEST_F(CodecsOfAnApplication, MacrosMayBeDeep)
{
    std::shared_ptr<CommandBase> deep = makeDigit();
    for (int depth = 0; depth < 100'000; ++depth)
    {
        auto macro = std::make_shared<MacroCommand>();
        macro->addCommand(std::move(deep));
        deep = macro;
    }
    const Json data = codecs.encode(*deep);
    EXPECT_EQ(data.size(), 100'001U);
    EXPECT_EQ(codecs.encode(*codecs.decode(data)), data);
}

} // namespace
} // namespace Valdane
