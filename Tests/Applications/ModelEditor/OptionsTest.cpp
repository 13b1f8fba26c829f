#include "Applications/ModelEditor/Terminal/Options.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using ModelEditor::Options;
using ValdaneTests::ElementsAre;

TEST(Options, AreReadInEveryOrder)
{
    const auto options =
        Options::parse({"--keep-going", "--script", "s", "model", "--output=o=1", "--log-level", "trace"});
    EXPECT_THAT(options.models, ElementsAre("model"));
    EXPECT_EQ(options.script, "s");
    EXPECT_EQ(options.output, "o=1");
    EXPECT_EQ(options.logLevel, "trace");
    EXPECT_TRUE(options.keepsGoing);
    EXPECT_FALSE(options.wantsHelp);
}

TEST(Options, OnlyTheModelIsNeeded)
{
    const auto options = Options::parse({"m"});
    EXPECT_THAT(options.models, ElementsAre("m"));
    EXPECT_FALSE(options.script);
    EXPECT_FALSE(options.output);
    EXPECT_FALSE(options.logLevel);
    EXPECT_FALSE(options.keepsGoing);
}

TEST(Options, BehindTwoDashesComeModelsWhateverTheirNames)
{
    EXPECT_THAT(Options::parse({"--", "--help", "-x"}).models, ElementsAre("--help", "-x"));
    EXPECT_THAT(Options::parse({"-"}).models, ElementsAre("-"));
}

TEST(Options, ThereMayBeSeveralModelsButNotOneOutputForThem)
{
    EXPECT_THAT(Options::parse({"b", "--keep-going", "a", "c"}).models, ElementsAre("b", "a", "c"));
    EXPECT_THROW(Options::parse({"a", "--output", "o", "b"}), Valdane::VdException);
}

TEST(Options, HelpAndVersionNeedNoModel)
{
    EXPECT_TRUE(Options::parse({"--help"}).wantsHelp);
    EXPECT_TRUE(Options::parse({"-h"}).wantsHelp);
    EXPECT_TRUE(Options::parse({"--version"}).wantsVersion);
}

TEST(Options, CommandsKeepTheirOrder)
{
    const auto options = Options::parse({"-e", "set /a/@b -e", "m", "-e", "save"});
    EXPECT_EQ(options.commands, (std::vector<std::string>{"set /a/@b -e", "save"}));
    EXPECT_THAT(options.models, ElementsAre("m"));
}

TEST(Options, NamespacesAreKeptByTheirPrefixes)
{
    const auto options = Options::parse({"--namespace", "m=urn:a=b", "model", "--namespace=n-1.x=c"});
    EXPECT_EQ(options.namespaces, (ModelEditor::NamespacePrefixes{{"m", "urn:a=b"}, {"n-1.x", "c"}}));
}

TEST(Options, WhatIsWrongIsRefused)
{
    const std::vector<std::vector<std::string>> wrong{
        {},
        {"m", "--nope"},
        {"m", "--script"},
        {"m", "--output="},
        {"m", "--output", ""},
        {"m", "--log-level", "info"},
        {"m", "--keep-going=1"},
        {"m", "--namespace"},
        {"m", "--namespace", "m"},
        {"m", "--namespace", "m="},
        {"m", "--namespace", "=urn:a"},
        {"m", "--namespace", "1m=urn:a"},
        {"m", "--namespace", "m:n=urn:a"},
        {"m", "--namespace", "m='\""},
        {"m", "--namespace", "m=urn:a", "--namespace", "m=urn:b"},
        {"m", "-e"},
        {"m", "-e", ""},
        {"m", "-e", "undo\nredo"},
        {"m", "-e", "undo", "--script", "s"},
        {"m", "--script=-", "-e", "undo"},
    };
    for (const auto& arguments : wrong)
    {
        EXPECT_THROW(Options::parse(arguments), Valdane::VdException) << testing::PrintToString(arguments);
    }
}

} // namespace
