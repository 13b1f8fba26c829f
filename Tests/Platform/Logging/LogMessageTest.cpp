#include "Platform/Logging/LogMessage.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using Valdane::LogMessage;

TEST(LogMessage, KeepsItsTextTypeAndDetails)
{
    const LogMessage message("The pump failed", LogMessage::Warning, "pressure {} too low\n");
    EXPECT_EQ(message.getText(), "The pump failed");
    EXPECT_EQ(message.getType(), LogMessage::Warning);
    EXPECT_EQ(message.getSecondText(), "pressure {} too low\n");
}

TEST(LogMessage, KeepsCopiesOfItsTexts)
{
    std::string text = "before";
    std::string second = "also before";
    const LogMessage message(text, LogMessage::Info, second);
    text = second = "after";
    EXPECT_EQ(message.getText(), "before");
    EXPECT_EQ(message.getSecondText(), "also before");
}

TEST(LogMessage, TypesHaveTheirValues)
{
    EXPECT_EQ(LogMessage::Type::Info, 0);
    EXPECT_EQ(LogMessage::Type::Warning, 1);
    EXPECT_EQ(LogMessage::Type::Error, 2);
}

} // namespace
