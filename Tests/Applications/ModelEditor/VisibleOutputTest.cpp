#include "Applications/ModelEditor/Terminal/VisibleOutput.h"

#include <gtest/gtest.h>

#include <ios>
#include <sstream>

namespace
{

using ModelEditor::Colour;
using ModelEditor::VisibleOutput;

TEST(VisibleOutput, HandsOnLinesAndWhatIsFlushed)
{
    std::ostringstream target;
    VisibleOutput out(target);
    out << "a\nb" << 1;
    EXPECT_EQ(target.str(), "a\n");
    out << std::flush;
    EXPECT_EQ(target.str(), "a\nb1");
}

TEST(VisibleOutput, HandsOnTheRestWhenItGoes)
{
    std::ostringstream target;
    VisibleOutput(target) << "a";
    EXPECT_EQ(target.str(), "a");
}

TEST(VisibleOutput, EscapesWhatATerminalObeysAlsoInPieces)
{
    std::ostringstream target;
    VisibleOutput out(target);
    for (const char c : std::string("\x1B\u202E\u00FC\n"))
    {
        out << c;
    }
    EXPECT_EQ(target.str(), "\\x1b\\u202e\u00FC\n");
}

TEST(VisibleOutput, PaintsWhatIsItsOwnAndNotWhatATextSays)
{
    std::ostringstream target;
    VisibleOutput out(target, true);
    out << "a" << Colour::Value << "\033[31m" << Colour::Plain << "\n";
    EXPECT_EQ(target.str(), "a\033[32m\\x1b[31m\033[0m\n");
}

TEST(VisibleOutput, DoesNotPaintUnlessItIsTold)
{
    std::ostringstream target;
    VisibleOutput(target) << Colour::Value << "a";
    target << Colour::Value << "b";
    EXPECT_EQ(target.str(), "ab");
}

TEST(VisibleOutput, FailsWhereTheOtherStreamDoes)
{
    std::ostringstream target;
    VisibleOutput out(target);
    target.setstate(std::ios::badbit);
    out << "a";
    EXPECT_FALSE(out.flush());
}

} // namespace
