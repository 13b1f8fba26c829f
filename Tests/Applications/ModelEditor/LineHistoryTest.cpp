#include "Applications/ModelEditor/Terminal/LineHistory.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

using ModelEditor::LineHistory;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::ThrowsMessage;
using Valdane::VdException;

class LineHistoryTest : public testing::Test
{
protected:
    TestDirectory directory;
    std::string path = directory.getPath() / "one" / "two" / "lines";
    LineHistory history{path};
};

} // namespace

TEST_F(LineHistoryTest, KeepsLinesInAFileOfTheUserAlone)
{
    EXPECT_THAT(history.read(), IsEmpty());
    history.add("one");
    history.add("");
    history.add("two  ");
    EXPECT_THAT(LineHistory(path).read(), ElementsAre("one", "", "two  "));
    EXPECT_EQ(std::filesystem::status(path).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(LineHistoryTest, TheOldestLinesGo)
{
    std::vector<std::string> all;
    for (std::size_t i = 0; i < 2 * LineHistory::most; ++i)
    {
        history.add(std::to_string(i));
    }
    EXPECT_THAT(history.read(), SizeIs(LineHistory::most));
    EXPECT_EQ(history.read().front(), "1000");
    EXPECT_EQ(history.read().back(), "1999");
    history.add("last");
    EXPECT_EQ(std::filesystem::file_size(path), LineHistory::most * std::string("1001\n").size());
    EXPECT_THAT(history.read(), SizeIs(LineHistory::most));
    EXPECT_EQ(history.read().front(), "1001");
    EXPECT_EQ(history.read().back(), "last");
}

TEST_F(LineHistoryTest, ALastLineWithoutALineEndStaysALine)
{
    history.add("one");
    std::ofstream(path, std::ios::app) << "cut";
    history.add("two");
    EXPECT_THAT(history.read(), ElementsAre("one", "cut", "two"));
    std::string many;
    for (std::size_t i = 0; i < 2 * LineHistory::most - 1; ++i)
    {
        many += "x\n";
    }
    std::ofstream(path) << many << "cut";
    history.add("last");
    EXPECT_THAT(history.read(), SizeIs(LineHistory::most));
    EXPECT_EQ(history.read().at(LineHistory::most - 2), "cut");
    EXPECT_EQ(history.read().back(), "last");
}

TEST_F(LineHistoryTest, SeveralSessionsAtOnceLoseNothing)
{
    const auto addMany = [this](char name)
    {
        for (std::size_t i = 0; i < LineHistory::most / 2; ++i)
        {
            LineHistory(path).add(std::string(1, name) + std::to_string(i));
        }
    };
    std::thread other([&] { addMany('b'); });
    addMany('a');
    other.join();
    EXPECT_THAT(history.read(), SizeIs(LineHistory::most));
}

TEST_F(LineHistoryTest, AFileThatCannotBeUsedIsAnError)
{
    directory.write("plain", "");
    const LineHistory wrong(directory.getPath() / "plain" / "lines");
    EXPECT_THAT(wrong.read(), IsEmpty());
    EXPECT_THAT([&] { wrong.add("x"); },
                ThrowsMessage<VdException>(HasSubstr("plain/lines: Not a directory")));
    std::filesystem::create_directories(path);
    EXPECT_THAT([&] { history.read(); }, ThrowsMessage<VdException>(HasSubstr("lines: ")));
    EXPECT_THAT([&] { history.add("x"); }, ThrowsMessage<VdException>(HasSubstr("lines: Is a directory")));
}

TEST_F(LineHistoryTest, WithoutAPathNothingIsKept)
{
    const LineHistory none("");
    none.add("x");
    EXPECT_THAT(none.read(), IsEmpty());
}

TEST_F(LineHistoryTest, ItsPlaceFollowsTheEnvironment)
{
    const char* const state = std::getenv("XDG_STATE_HOME");
    const char* const home = std::getenv("HOME");
    const std::string stateBefore = state == nullptr ? "" : state;
    const std::string homeBefore = home == nullptr ? "" : home;
    setenv("HOME", "/h", 1);
    setenv("XDG_STATE_HOME", "/s", 1);
    EXPECT_EQ(LineHistory::findPath(), "/s/model-editor/lines");
    setenv("XDG_STATE_HOME", "relative", 1);
    EXPECT_EQ(LineHistory::findPath(), "/h/.local/state/model-editor/lines");
    unsetenv("XDG_STATE_HOME");
    unsetenv("HOME");
    EXPECT_EQ(LineHistory::findPath(), "");
    if (state != nullptr)
    {
        setenv("XDG_STATE_HOME", stateBefore.c_str(), 1);
    }
    if (home != nullptr)
    {
        setenv("HOME", homeBefore.c_str(), 1);
    }
}
