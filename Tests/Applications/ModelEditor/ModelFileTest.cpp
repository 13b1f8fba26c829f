#include "Applications/ModelEditor/Document/ModelFile.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

// In the place of the C library's, for this executable: what was made durable, in which order.
namespace
{

std::vector<std::string> durabilityCalls;
int fsyncError = 0;

} // namespace

extern "C" int fsync(int file)
{
    const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file));
    durabilityCalls.emplace_back(std::filesystem::is_directory(path) ? "fsync directory" : "fsync file");
    errno = fsyncError;
    return fsyncError == 0 ? 0 : -1;
}

extern "C" int rename(const char* from, const char* to) noexcept
{
    durabilityCalls.emplace_back("rename");
    return static_cast<int>(syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to));
}

namespace
{

namespace fs = std::filesystem;
using ModelEditor::readFile;
using ModelEditor::replaceFile;
using Valdane::VdException;
using ValdaneTests::ElementsAre;

std::string messageOf(const auto& action)
{
    try
    {
        action();
    }
    catch (const VdException& exception)
    {
        return exception.what();
    }
    return "nothing was thrown";
}

TEST(ModelFile, ReadsEveryByte)
{
    const TestDirectory directory;
    const std::string bytes = std::string("a\0\r\n\xFF", 5) + std::string(100'000, 'x');
    EXPECT_EQ(readFile(directory.write("f", bytes)), bytes);
    EXPECT_EQ(readFile(directory.write("empty", "")), "");
}

TEST(ModelFile, ReadsFilesThatSayTheyAreEmpty)
{
    EXPECT_NE(readFile("/proc/self/status"), "");
}

TEST(ModelFile, WhatIsNoFileIsNotRead)
{
    const TestDirectory directory;
    const std::string path = directory.getPath().string();
    EXPECT_EQ(messageOf([&] { readFile(path); }), path + ": is a directory");
    EXPECT_EQ(messageOf([&] { readFile(path + "/no"); }), path + "/no: No such file or directory");
    EXPECT_EQ(messageOf([&] { readFile("/dev/null"); }), "/dev/null: is not a regular file");
    ASSERT_EQ(mkfifo((path + "/pipe").c_str(), 0600), 0);
    EXPECT_EQ(messageOf([&] { readFile(path + "/pipe"); }), path + "/pipe: is not a regular file");
}

TEST(ModelFile, ReplacesTheContentAndLeavesNothingElse)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old content");
    replaceFile(path, "new");
    EXPECT_EQ(directory.read("f"), "new");
    replaceFile(directory.getPath() / "fresh", std::string(1'000'000, 'x'));
    EXPECT_EQ(directory.read("fresh"), std::string(1'000'000, 'x'));
    EXPECT_THAT(directory.list(), ElementsAre("f", "fresh"));
}

TEST(ModelFile, APathWithoutDirectoryIsInTheWorkingDirectory)
{
    const TestDirectory directory;
    const fs::path before = fs::current_path();
    fs::current_path(directory.getPath());
    replaceFile("f", "x");
    fs::current_path(before);
    EXPECT_EQ(directory.read("f"), "x");
}

TEST(ModelFile, KeepsThePermissionsOfWhatItReplaces)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    for (const mode_t mode : {0640U, 0444U, 0755U})
    {
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
        replaceFile(path, "new");
        struct stat status = {};
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, mode);
    }
}

TEST(ModelFile, ANewFileHasTheUsualPermissions)
{
    const TestDirectory directory;
    const mode_t mask = umask(027);
    replaceFile(directory.getPath() / "f", "new");
    EXPECT_EQ(umask(mask), 027U);
    struct stat status = {};
    ASSERT_EQ(stat((directory.getPath() / "f").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST(ModelFile, FollowsSymbolicLinksAlsoToFilesThatAreNotThereYet)
{
    const TestDirectory directory;
    directory.write("f", "old");
    fs::create_directory(directory.getPath() / "d");
    fs::create_symlink("f", directory.getPath() / "link");
    fs::create_symlink("../link", directory.getPath() / "d" / "second");
    fs::create_symlink(directory.getPath() / "new", directory.getPath() / "dangling");
    replaceFile(directory.getPath() / "d" / "second", "x");
    replaceFile(directory.getPath() / "dangling", "y");
    EXPECT_EQ(directory.read("f"), "x");
    EXPECT_EQ(directory.read("new"), "y");
    EXPECT_TRUE(fs::is_symlink(directory.getPath() / "link"));
    EXPECT_TRUE(fs::is_symlink(directory.getPath() / "d" / "second"));
    EXPECT_TRUE(fs::is_symlink(directory.getPath() / "dangling"));
}

TEST(ModelFile, WhatCannotBeReplacedIsReportedAndLeft)
{
    const TestDirectory directory;
    const std::string path = directory.getPath().string();
    fs::create_symlink("b", directory.getPath() / "a");
    fs::create_symlink("a", directory.getPath() / "b");
    EXPECT_EQ(messageOf([&] { replaceFile(path, "x"); }), path + ": is a directory");
    EXPECT_EQ(messageOf([&] { replaceFile("/dev/full", "x"); }), "/dev/full: is not a regular file");
    EXPECT_EQ(messageOf([&] { replaceFile(path + "/no/f", "x"); }),
              path + "/no/f: No such file or directory");
    EXPECT_EQ(messageOf([&] { replaceFile(path + "/a", "x"); }),
              path + "/a: Too many levels of symbolic links");
    EXPECT_THAT(directory.list(), ElementsAre("a", "b"));
}

TEST(ModelFile, TheNewContentIsDurableBeforeItTakesTheNameAndTheNameAfterwards)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    durabilityCalls.clear();
    replaceFile(path, "new");
    EXPECT_THAT(durabilityCalls, ElementsAre("fsync file", "rename", "fsync directory"));
}

TEST(ModelFile, AContentThatCannotBeMadeDurableIsNotTaken)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    fsyncError = EIO;
    EXPECT_EQ(messageOf([&] { replaceFile(path, "new"); }), path + ": Input/output error");
    fsyncError = 0;
    EXPECT_EQ(directory.read("f"), "old");
    EXPECT_THAT(directory.list(), ElementsAre("f"));
}

TEST(ModelFile, AHardLinkKeepsTheOldContent)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    fs::create_hard_link(path, directory.getPath() / "other");
    replaceFile(path, "new");
    EXPECT_EQ(directory.read("other"), "old");
}

} // namespace
