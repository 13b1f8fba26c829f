#include "Applications/ModelEditor/Document/FileState.h"

#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

#include <array>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using ModelEditor::FileChange;
using ModelEditor::loadFile;

constexpr std::time_t longAgo = 1'000'000'000;

void setTime(const std::string& path, std::time_t seconds, long nanoseconds = 0)
{
    const timespec time{seconds, nanoseconds};
    const std::array<timespec, 2> both{time, time};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), both.data(), 0), 0);
}

TEST(FileState, AFileThatIsLeftAloneHasNotChanged)
{
    const TestDirectory directory;
    const auto path = directory.write("f", "content");
    EXPECT_EQ(loadFile(path).state.findChange(path), FileChange::None);
    setTime(path, longAgo);
    EXPECT_EQ(loadFile(path).state.findChange(path), FileChange::None);
}

TEST(FileState, ANewContentIsAChangeAlsoIfOnlyTheTimeOrTheSizeTells)
{
    const TestDirectory directory;
    const auto path = directory.write("f", "content");
    setTime(path, longAgo);
    const auto state = loadFile(path).state;
    directory.write("f", "CONTENT");
    setTime(path, longAgo, 1);
    EXPECT_EQ(state.findChange(path), FileChange::Changed);
    directory.write("f", "longer content");
    setTime(path, longAgo);
    EXPECT_EQ(state.findChange(path), FileChange::Changed);
}

TEST(FileState, AnotherFileInItsPlaceIsAChange)
{
    const TestDirectory directory;
    const auto path = directory.write("f", "content");
    setTime(path, longAgo);
    const auto state = loadFile(path).state;
    const auto other = directory.write("g", "CONTENT");
    setTime(other, longAgo);
    fs::rename(other, path);
    EXPECT_EQ(state.findChange(path), FileChange::Changed);
}

TEST(FileState, TheSameContentIsNoChange)
{
    const TestDirectory directory;
    const auto path = directory.write("f", "content");
    setTime(path, longAgo);
    const auto state = loadFile(path).state;
    fs::rename(directory.write("g", "content"), path);
    EXPECT_EQ(state.findChange(path), FileChange::None);
}

TEST(FileState, AChangeRightAfterItWasReadIsNotedThoughTheTimeIsTheSame)
{
    const TestDirectory directory;
    const auto path = directory.write("f", "content");
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    const auto state = loadFile(path).state;
    directory.write("f", "CONTENT");
    setTime(path, status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    EXPECT_EQ(state.findChange(path), FileChange::Changed);
}

TEST(FileState, AFileThatIsGoneWasRemoved)
{
    const TestDirectory directory;
    const auto path = directory.write("f", "content");
    const auto state = loadFile(path).state;
    fs::remove(path);
    EXPECT_EQ(state.findChange(path), FileChange::Removed);
    fs::create_directory(path);
    EXPECT_THROW(static_cast<void>(state.findChange(path)), Valdane::VdException);
}

TEST(FileState, WhatWasWrittenHasNotChanged)
{
    const TestDirectory directory;
    const auto path = directory.write("f", "old");
    EXPECT_EQ(ModelEditor::writeFile(path, "new").state.value().findChange(path), FileChange::None);
    fs::create_hard_link(path, directory.getPath() / "other");
    const auto state = ModelEditor::writeFile(path, "again").state.value();
    EXPECT_EQ(state.findChange(path), FileChange::None);
    directory.write("f", "other");
    EXPECT_EQ(state.findChange(path), FileChange::Changed);
}

} // namespace
