#include "Applications/ModelEditor/Terminal/StreamLines.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace
{

std::vector<std::string> linesOf(const std::string& text)
{
    std::istringstream stream(text);
    ModelEditor::StreamLines lines(stream);
    std::vector<std::string> all;
    while (const auto line = lines.next(""))
    {
        all.push_back(*line);
    }
    return all;
}

using Lines = std::vector<std::string>;

TEST(StreamLines, LineEndsOfEveryKindAreDropped)
{
    EXPECT_EQ(linesOf(""), Lines{});
    EXPECT_EQ(linesOf("a\r\n\r\nb\rc\nd"), (Lines{"a", "", "b\rc", "d"}));
}

TEST(StreamLines, OnlyTheFirstLineLosesAByteOrderMark)
{
    EXPECT_EQ(linesOf("\xEF\xBB\xBF"
                      "a\n\xEF\xBB\xBF"
                      "b"),
              (Lines{"a", "\xEF\xBB\xBF"
                          "b"}));
}

TEST(StreamLines, ALineMayBeLong)
{
    const std::string line(5'000'000, 'x');
    EXPECT_EQ(linesOf(line + "\n" + line), (Lines{line, line}));
}

} // namespace
