#include "Platform/Logging/Logging.h"

#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/MeetingPoint.h"
#include "Tests/Support/RecordingSink.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/async.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{

using testing::IsEmpty;
using Valdane::Logging;
using Valdane::Testing::LoggedLine;
using Valdane::Testing::RecordingSink;
using ValdaneTests::ElementsAre;

// What spdlog ends a line with on this system.
const std::string endOfLine = SPDLOG_EOL;

bool standsInOrder(const std::string& text, const std::vector<std::string>& parts)
{
    std::size_t from = 0;
    for (const std::string& part : parts)
    {
        from = text.find(part, from);
        if (from == std::string::npos)
        {
            return false;
        }
        from += part.size();
    }
    return true;
}

// Logs in its destructor once it has been given something to log to.
struct LastWords
{
    LastWords() = default;
    LastWords(const LastWords&) = delete;
    LastWords& operator=(const LastWords&) = delete;

    ~LastWords()
    {
        if (logging != nullptr)
        {
            logging->logERROR("from a static destructor", "File.cpp", "f", 1);
        }
    }

    const Logging* logging = nullptr;
};

// The order is what is tested: the first is destroyed after everything else here, spdlog's registry included.
LastWords lastWords;
const auto sinkAtStart = std::make_shared<RecordingSink>();
const bool registeredAtStart =
    (spdlog::register_logger(std::make_shared<spdlog::logger>("At/Start", sinkAtStart)), true);
const Logging loggingAtStart("At/Start");
const bool loggedAtStart = (loggingAtStart.logERROR("from a static constructor", "File.cpp", "f", 1), true);

class ThrowingSink : public RecordingSink
{
public:
    explicit ThrowingSink(bool standardException) : throwsStandardException(standardException) {}

protected:
    void sink_it_(const spdlog::details::log_msg& /*message*/) override
    {
        if (throwsStandardException)
        {
            throw std::runtime_error("disk full");
        }
        throw 7; // NOLINT(hicpp-exception-baseclass)
    }

private:
    bool throwsStandardException;
};

/// Throws a std::exception whose what() is null.
class SpeechlessSink : public RecordingSink
{
public:
    class Speechless : public std::exception
    {
    public:
        const char* what() const noexcept override
        {
            return nullptr;
        }
    };

protected:
    void sink_it_(const spdlog::details::log_msg& /*message*/) override
    {
        throw Speechless();
    }
};

/// Every test has a registry with nothing in it but a default logger that records.
class LoggingTest : public testing::Test
{
protected:
    LoggingTest()
    {
        spdlog::drop_all();
        spdlog::set_default_logger(std::make_shared<spdlog::logger>("common", sink));
    }

    ~LoggingTest() override
    {
        spdlog::set_automatic_registration(true);
        spdlog::set_level(spdlog::level::info);
        spdlog::flush_on(spdlog::level::off);
        spdlog::set_error_handler(nullptr);
        spdlog::drop_all();
    }

    static void logError(const Logging& logging, const std::string& text)
    {
        logging.logERROR(text, "Some/File.cpp", "void f()", 12);
    }

    static void logTrace(const Logging& logging, const std::string& text)
    {
        logging.logTRACE(text, "Some/File.cpp", "void f()", 12);
    }

    std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
};

TEST_F(LoggingTest, RegistersALoggerNamedAfterTheSourceFile)
{
    const Logging logging("Service/Pump");
    ASSERT_NE(spdlog::get("Service/Pump"), nullptr);
    EXPECT_EQ(spdlog::get("Service/Pump")->name(), "Service/Pump");
    spdlog::get("Service/Pump")->set_level(spdlog::level::trace);
    EXPECT_TRUE(logging.isTraceEnabled());
}

TEST_F(LoggingTest, RegistersItsLoggerAlsoWhereTheApplicationSwitchedAutomaticRegistrationOff)
{
    spdlog::set_automatic_registration(false);
    const Logging logging("Service/Pump");
    EXPECT_NE(spdlog::get("Service/Pump"), nullptr);
}

TEST_F(LoggingTest, TakesTheLoggerThatIsRegisteredAlready)
{
    const auto own = std::make_shared<RecordingSink>();
    const auto logger = std::make_shared<spdlog::logger>("Service/Pump", own);
    spdlog::register_logger(logger);
    logError(Logging("Service/Pump"), "leak");
    EXPECT_THAT(own->texts(), ElementsAre("leak"));
    EXPECT_THAT(sink->texts(), IsEmpty());
    EXPECT_EQ(spdlog::get("Service/Pump"), logger);
}

TEST_F(LoggingTest, ObjectsOfOneNameShareTheirLogger)
{
    const Logging first("Service/Pump");
    const auto logger = spdlog::get("Service/Pump");
    const Logging second("Service/Pump");
    EXPECT_EQ(spdlog::get("Service/Pump"), logger);
    logger->set_level(spdlog::level::trace);
    EXPECT_TRUE(first.isTraceEnabled());
    EXPECT_TRUE(second.isTraceEnabled());
}

TEST_F(LoggingTest, ObjectsOfDifferentNamesHaveTheirOwnLoggers)
{
    const Logging pump("Service/Pump");
    const Logging valve("Service/Valve");
    spdlog::get("Service/Pump")->set_level(spdlog::level::trace);
    EXPECT_TRUE(pump.isTraceEnabled());
    EXPECT_FALSE(valve.isTraceEnabled());
}

TEST_F(LoggingTest, ANewLoggerSharesTheSinksOfTheDefaultLoggerAndLeavesTheirFormatAlone)
{
    std::ostringstream out;
    const auto formatted = std::make_shared<spdlog::sinks::ostream_sink_mt>(out);
    formatted->set_pattern("<%n: %v>");
    spdlog::set_default_logger(std::make_shared<spdlog::logger>("file", formatted));
    logError(Logging("Service/Pump"), "leak");
    EXPECT_EQ(out.str(), "<Service/Pump: leak>" + endOfLine);
}

TEST_F(LoggingTest, ANewLoggerWritesToStderrWhereThereIsNoDefaultLogger)
{
    spdlog::drop_all();
    testing::internal::CaptureStderr();
    logError(Logging("Service/Pump"), "leak");
    spdlog::get("Service/Pump")->flush();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("leak"));
}

TEST_F(LoggingTest, StandardOutputIsTheApplicationsUnlessItAsks)
{
    const auto standardOutput = std::make_shared<spdlog::sinks::stdout_color_sink_mt>();
    const auto written = [](const char* logger)
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        logError(Logging(logger), "leak");
        spdlog::get(logger)->flush();
        const bool isInOutput = testing::internal::GetCapturedStdout().find("leak") != std::string::npos;
        const bool isInError = testing::internal::GetCapturedStderr().find("leak") != std::string::npos;
        return std::vector{isInOutput, isInError};
    };
    // As spdlog makes it.
    spdlog::set_default_logger(std::make_shared<spdlog::logger>("", standardOutput));
    EXPECT_THAT(written("Service/Pump"), ElementsAre(false, true));
    spdlog::set_default_logger(std::make_shared<spdlog::logger>("file", standardOutput));
    EXPECT_THAT(written("Service/Valve"), ElementsAre(true, false));
    spdlog::set_default_logger(
        std::make_shared<spdlog::logger>("", spdlog::sinks_init_list{standardOutput, sink}));
    EXPECT_THAT(written("Service/Motor"), ElementsAre(true, false));
    spdlog::set_default_logger(
        std::make_shared<spdlog::logger>("", std::make_shared<spdlog::sinks::stdout_sink_mt>()));
    EXPECT_THAT(written("Service/Tank"), ElementsAre(true, false));
}

TEST_F(LoggingTest, ANewLoggerTakesTheLevelsThatSpdlogGivesToNewLoggers)
{
    spdlog::set_level(spdlog::level::trace);
    spdlog::flush_on(spdlog::level::warn);
    const Logging logging("Service/Pump");
    EXPECT_TRUE(logging.isTraceEnabled());
    EXPECT_EQ(spdlog::get("Service/Pump")->flush_level(), spdlog::level::warn);
}

TEST_F(LoggingTest, TraceIsOffAndErrorIsOnByDefault)
{
    const Logging logging("Service/Pump");
    EXPECT_FALSE(logging.isTraceEnabled());
    logTrace(logging, "turning");
    logError(logging, "leak");
    EXPECT_THAT(sink->texts(), ElementsAre("leak"));
}

TEST_F(LoggingTest, TheLevelCanBeChangedAtAnyTime)
{
    const Logging logging("Service/Pump");
    const auto logger = spdlog::get("Service/Pump");
    logger->set_level(spdlog::level::trace);
    logTrace(logging, "turning");
    logger->set_level(spdlog::level::debug);
    EXPECT_FALSE(logging.isTraceEnabled());
    logTrace(logging, "still turning");
    logger->set_level(spdlog::level::off);
    logError(logging, "leak");
    EXPECT_THAT(sink->texts(), ElementsAre("turning"));
}

TEST_F(LoggingTest, TraceIsEnabledWhileABacktraceCollectsIt)
{
    const Logging logging("Service/Pump");
    const auto logger = spdlog::get("Service/Pump");
    logger->enable_backtrace(8);
    EXPECT_TRUE(logging.isTraceEnabled());
    logTrace(logging, "turning");
    EXPECT_THAT(sink->texts(), IsEmpty());
    logger->dump_backtrace();
    EXPECT_THAT(sink->texts(), testing::Contains("turning"));
    logger->disable_backtrace();
    EXPECT_FALSE(logging.isTraceEnabled());
}

TEST_F(LoggingTest, LinesCarryLoggerLevelTextAndPlace)
{
    const Logging logging("Service/Pump");
    spdlog::get("Service/Pump")->set_level(spdlog::level::trace);
    logging.logTRACE("turning", "Service/Pump.cpp", "void turn()", 31);
    logging.logERROR("leak", "Service/Leak.cpp", "void drip()", 74);
    EXPECT_THAT(sink->lines(), ElementsAre(LoggedLine{.logger = "Service/Pump",
                                                      .level = spdlog::level::trace,
                                                      .text = "turning",
                                                      .file = "Service/Pump.cpp",
                                                      .function = "void turn()",
                                                      .line = 31},
                                           LoggedLine{.logger = "Service/Pump",
                                                      .level = spdlog::level::err,
                                                      .text = "leak",
                                                      .file = "Service/Leak.cpp",
                                                      .function = "void drip()",
                                                      .line = 74}));
}

TEST_F(LoggingTest, APlaceWithoutFileIsNoPlaceAndOneWithoutFunctionIsPrintable)
{
    std::ostringstream out;
    const auto formatted = std::make_shared<spdlog::sinks::ostream_sink_mt>(out);
    formatted->set_pattern("%s:%#(%!) %v");
    spdlog::get("common")->sinks().push_back(formatted);
    const Logging logging("Service/Pump");
    logging.logERROR("nowhere", nullptr, "void f()", 3);
    logging.logERROR("somewhere", "Pump.cpp", nullptr, 3);
    EXPECT_EQ(out.str(), ":() nowhere" + endOfLine + "Pump.cpp:3() somewhere" + endOfLine);
    ASSERT_EQ(sink->lines().size(), 2U);
    EXPECT_EQ(sink->lines()[0].file, "none");
    EXPECT_EQ(sink->lines()[0].line, 0);
    EXPECT_EQ(sink->lines()[1].function, "");
}

TEST_F(LoggingTest, TextsAreWrittenAsTheyAre)
{
    const std::vector<std::string> texts{"",
                                         "{}",
                                         "{0} {name} {:>9} }{ {{}} %v %s",
                                         "two\nlines\r\n",
                                         std::string("a\0b", 3),
                                         "Stra\xc3\x9f: \xe2\x86\x92 \xf0\x9f\x94\xa7",
                                         "not UTF-8: \xff\xfe",
                                         std::string(100'000, 'x')};
    const Logging logging("Service/Pump");
    spdlog::get("Service/Pump")->set_level(spdlog::level::trace);
    for (const auto& text : texts)
    {
        logError(logging, text);
    }
    EXPECT_EQ(sink->texts(), texts);
    for (const auto& text : texts)
    {
        logTrace(logging, text);
    }
    EXPECT_EQ(sink->texts().size(), 2 * texts.size());
    EXPECT_TRUE(std::equal(texts.begin(), texts.end(), sink->texts().begin()));
}

TEST_F(LoggingTest, ASinkThatThrowsGoesToTheErrorHandlerAndTheOtherSinksGetTheLine)
{
    static std::vector<std::string> errors;
    errors.clear();
    spdlog::set_error_handler([](const std::string& error) { errors.push_back(error); });
    const auto second = std::make_shared<RecordingSink>();
    spdlog::get("common")->sinks() = {std::make_shared<ThrowingSink>(true), second};
    const Logging logging("Service/Pump");
    EXPECT_NO_THROW(logError(logging, "leak"));
    EXPECT_THAT(second->texts(), ElementsAre("leak"));
    EXPECT_THAT(errors, ElementsAre(testing::HasSubstr("disk full")));
}

TEST_F(LoggingTest, WhatIsThrownThatIsNoStandardExceptionDoesNotReachTheCaller)
{
    static std::vector<std::string> errors;
    errors.clear();
    spdlog::set_error_handler([](const std::string& error) { errors.push_back(error); });
    spdlog::get("common")->sinks() = {std::make_shared<ThrowingSink>(false)};
    const Logging logging("Service/Pump");
    EXPECT_NO_THROW(logError(logging, "leak"));
    EXPECT_EQ(errors.size(), 1U);
}

TEST_F(LoggingTest, AnExceptionWithoutTextDoesNotReachTheCallerAndTheLoggerCanStillBeUsed)
{
    spdlog::set_error_handler([](const std::string& /*error*/) {});
    spdlog::get("common")->sinks() = {sink, std::make_shared<SpeechlessSink>()};
    const Logging logging("Service/Pump");
    EXPECT_NO_THROW(logError(logging, "leak"));
    EXPECT_NO_THROW(logging.logERROR("burst", nullptr, nullptr, 0));
    EXPECT_THAT(sink->texts(), ElementsAre("leak", "burst"));
}

TEST_F(LoggingTest, WhatTheErrorHandlerThrowsDoesNotReachTheCaller)
{
    spdlog::set_error_handler([](const std::string& error) { throw std::runtime_error(error); });
    spdlog::get("common")->sinks() = {std::make_shared<ThrowingSink>(true)};
    const Logging logging("Service/Pump");
    EXPECT_NO_THROW(logError(logging, "leak"));
}

TEST_F(LoggingTest, GoesOnWritingAfterTheRegistryWasEmptied)
{
    const Logging logging("Service/Pump");
    spdlog::drop_all();
    logError(logging, "leak");
    EXPECT_THAT(sink->texts(), ElementsAre("leak"));
}

TEST_F(LoggingTest, AfterTheRegistryWasEmptiedANewObjectMakesANewLoggerAndTheOldOneIsUntouched)
{
    const Logging before("Service/Pump");
    spdlog::drop_all();
    const Logging after("Service/Pump");
    spdlog::get("Service/Pump")->set_level(spdlog::level::trace);
    EXPECT_FALSE(before.isTraceEnabled());
    EXPECT_TRUE(after.isTraceEnabled());
}

TEST_F(LoggingTest, AnAsynchronousLoggerThatWasShutDownLosesTheLineAndDoesNotThrow)
{
    spdlog::init_thread_pool(8, 1);
    const auto own = std::make_shared<RecordingSink>();
    spdlog::register_logger(
        std::make_shared<spdlog::async_logger>("Service/Pump", own, spdlog::thread_pool()));
    const Logging logging("Service/Pump");
    logError(logging, "leak");
    spdlog::shutdown();
    EXPECT_NO_THROW(logError(logging, "another leak"));
    EXPECT_THAT(own->texts(), ElementsAre("leak"));
}

TEST_F(LoggingTest, ALineThatIsOffAllocatesNothing)
{
    const Logging logging("Service/Pump");
    const std::string text(1000, 'x');
    const auto before = Valdane::allocationCount();
    ::operator delete(::operator new(1));
    ASSERT_EQ(Valdane::allocationCount(), before + 1) << "the counter counts";
    for (int i = 0; i < 100; ++i)
    {
        ASSERT_FALSE(logging.isTraceEnabled());
        logging.logTRACE(text, "Some/File.cpp", "void f()", i);
    }
    EXPECT_EQ(Valdane::allocationCount(), before + 1);
}

TEST_F(LoggingTest, ThreadsThatMakeObjectsOfOneNameAtOnceShareTheLogger)
{
    constexpr int Threads = 4;
    constexpr int Names = 500;
    ValdaneTests::MeetingPoint everybody(Threads);
    std::vector<std::vector<Logging>> made(Threads);
    std::vector<std::thread> threads;
    threads.reserve(Threads);
    for (auto& mine : made)
    {
        threads.emplace_back(
            [&everybody, &mine]
            {
                for (int i = 0; i < Names; ++i)
                {
                    everybody.arriveAndWait();
                    mine.emplace_back("Name/" + std::to_string(i));
                    logError(mine.back(), "made");
                }
            });
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(sink->lines().size(), static_cast<std::size_t>(Threads * Names));
    for (int i = 0; i < Names; ++i)
    {
        spdlog::get("Name/" + std::to_string(i))->set_level(spdlog::level::trace);
        for (const auto& mine : made)
        {
            EXPECT_TRUE(mine[static_cast<std::size_t>(i)].isTraceEnabled());
        }
    }
}

TEST_F(LoggingTest, ThreadsWriteThroughOneObjectWhileTheLevelChanges)
{
    constexpr int Threads = 4;
    constexpr int Lines = 500;
    const Logging logging("Service/Pump");
    const auto logger = spdlog::get("Service/Pump");
    ValdaneTests::MeetingPoint start(Threads + 1);
    std::vector<std::thread> threads;
    threads.reserve(Threads);
    for (int t = 0; t < Threads; ++t)
    {
        threads.emplace_back(
            [&start, &logging]
            {
                start.arriveAndWait();
                for (int i = 0; i < Lines; ++i)
                {
                    logTrace(logging, "turning");
                    logError(logging, "leak");
                }
            });
    }
    start.arriveAndWait();
    for (int i = 0; i < Lines; ++i)
    {
        logger->set_level(i % 2 == 0 ? spdlog::level::trace : spdlog::level::info);
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    const auto texts = sink->texts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "leak"), Threads * Lines);
}

TEST_F(LoggingTest, StaticConstructorsCanMakeObjectsAndLog)
{
    ASSERT_TRUE(registeredAtStart && loggedAtStart);
    EXPECT_THAT(sinkAtStart->texts(), testing::Contains("from a static constructor"));
}

TEST_F(LoggingTest, DestroyingAnObjectDoesNothing)
{
    static_assert(std::is_trivially_destructible_v<Logging>);
    auto storage = std::make_unique<Logging>("Service/Pump");
    const Logging copy = *storage;
    storage.reset();
    logError(copy, "leak");
    EXPECT_THAT(sink->texts(), ElementsAre("leak"));
}

TEST_F(LoggingTest, LogsUntilTheEndOfStaticDestruction)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto leaveTheProcess = []
    {
        spdlog::get("common")->sinks() = {std::make_shared<spdlog::sinks::stderr_sink_mt>()};
        static const Logging logging("Service/Pump");
        lastWords.logging = &logging;
        std::atexit([] { logging.logERROR("from an exit handler", "File.cpp", "f", 1); });
        spdlog::shutdown();
        logging.logERROR("after shutdown", "File.cpp", "f", 1);
        std::exit(0);
    };
    const auto isAllWritten = [](const std::string& text)
    {
        return standsInOrder(text, {"after shutdown", "from an exit handler", "from a static destructor"});
    };
    EXPECT_EXIT(leaveTheProcess(), testing::ExitedWithCode(0), testing::Truly(isAllWritten));
}

} // namespace
