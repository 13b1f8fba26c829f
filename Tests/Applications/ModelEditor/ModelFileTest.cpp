#include "Applications/ModelEditor/Document/ModelFile.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

// In the place of the C library's, for this executable: what was made durable, in which order; and what a test lets fail.
namespace
{

std::vector<std::string> durabilityCalls;
int fsyncError = 0;
int fsyncSignal = 0;
int fchownError = 0;
int renameError = 0;

} // namespace

extern "C" int fsync(int file)
{
    const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file));
    durabilityCalls.emplace_back(std::filesystem::is_directory(path) ? "fsync directory" : "fsync file");
    if (fsyncSignal != 0)
    {
        std::raise(fsyncSignal);
    }
    errno = fsyncError;
    return fsyncError == 0 ? 0 : -1;
}

extern "C" int rename(const char* from, const char* to) noexcept
{
    durabilityCalls.emplace_back("rename");
    errno = renameError;
    return renameError != 0 ? -1 : static_cast<int>(syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to));
}

extern "C" int fchown(int file, uid_t owner, gid_t group) noexcept
{
    errno = fchownError;
    return fchownError != 0 ? -1 : static_cast<int>(syscall(SYS_fchown, file, owner, group));
}

namespace
{

namespace fs = std::filesystem;
using ModelEditor::isReadOnly;
using ModelEditor::readFile;
using ModelEditor::removeTemporaries;
using ModelEditor::writeFile;
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
    std::string bytes(100'000, 'x');
    bytes.insert(0, "a\0\r\n\xFF", 5);
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
    writeFile(path, "new");
    EXPECT_EQ(directory.read("f"), "new");
    writeFile(directory.getPath() / "fresh", std::string(1'000'000, 'x'));
    EXPECT_EQ(directory.read("fresh"), std::string(1'000'000, 'x'));
    EXPECT_THAT(directory.list(), ElementsAre("f", "fresh"));
}

TEST(ModelFile, APathWithoutDirectoryIsInTheWorkingDirectory)
{
    const TestDirectory directory;
    const fs::path before = fs::current_path();
    fs::current_path(directory.getPath());
    writeFile("f", "x");
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
        writeFile(path, "new");
        struct stat status = {};
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, mode);
    }
}

TEST(ModelFile, ANewFileHasTheUsualPermissions)
{
    const TestDirectory directory;
    const mode_t mask = umask(027);
    writeFile(directory.getPath() / "f", "new");
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
    writeFile(directory.getPath() / "d" / "second", "x");
    writeFile(directory.getPath() / "dangling", "y");
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
    EXPECT_EQ(messageOf([&] { writeFile(path, "x"); }), path + ": is a directory");
    EXPECT_EQ(messageOf([&] { writeFile("/dev/full", "x"); }), "/dev/full: No space left on device");
    EXPECT_EQ(messageOf([&] { writeFile(path + "/no/f", "x"); }), path + "/no/f: No such file or directory");
    EXPECT_EQ(messageOf([&] { writeFile(path + "/a", "x"); }),
              path + "/a: Too many levels of symbolic links");
    EXPECT_THAT(directory.list(), ElementsAre("a", "b"));
}

TEST(ModelFile, TheNewContentIsDurableBeforeItTakesTheNameAndTheNameAfterwards)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    durabilityCalls.clear();
    writeFile(path, "new");
    EXPECT_THAT(durabilityCalls, ElementsAre("fsync file", "rename", "fsync directory"));
}

TEST(ModelFile, AContentThatCannotBeMadeDurableIsNotTaken)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    fsyncError = EIO;
    EXPECT_EQ(messageOf([&] { writeFile(path, "new"); }), path + ": Input/output error");
    fsyncError = 0;
    EXPECT_EQ(directory.read("f"), "old");
    EXPECT_THAT(directory.list(), ElementsAre("f"));
}

ino_t inodeOf(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_ino;
}

// What a test lets fail, until it ends.
class Failing
{
public:
    Failing(int& error, int value) : failing(error)
    {
        failing = value;
    }

    Failing(const Failing&) = delete;
    Failing& operator=(const Failing&) = delete;

    ~Failing()
    {
        failing = 0;
    }

private:
    int& failing;
};

// The super-user may do all; while this lives, the process is somebody else, who owns the directory.
class OrdinaryUser
{
public:
    explicit OrdinaryUser(const TestDirectory& directory)
    {
        constexpr uid_t nobody = 65534;
        if (before == 0)
        {
            chown(directory, nobody);
            EXPECT_EQ(seteuid(nobody), 0);
        }
    }

    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

    ~OrdinaryUser()
    {
        EXPECT_EQ(seteuid(before), 0);
    }

private:
    static void chown(const TestDirectory& directory, uid_t owner)
    {
        EXPECT_EQ(::chown(directory.getPath().c_str(), owner, owner), 0);
        for (const auto& name : directory.list())
        {
            EXPECT_EQ(::chown((directory.getPath() / name).c_str(), owner, owner), 0);
        }
    }

    uid_t before = geteuid();
};

std::string attributeOf(const std::string& path, const std::string& name)
{
    std::string value(1000, '\0');
    const auto length = getxattr(path.c_str(), name.c_str(), value.data(), value.size());
    value.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return value;
}

// An access control list as the kernel has it: the owner and user 1234 may read and write, the group may read.
std::string accessList()
{
    constexpr std::uint32_t nobody = 0xFFFFFFFF;
    const std::vector<std::array<std::uint32_t, 3>> entries{
        {0x01, 6, nobody}, {0x02, 6, 1234}, {0x04, 4, nobody}, {0x10, 6, nobody}, {0x20, 0, nobody}};
    std::string list("\x02\0\0\0", 4);
    for (const auto& [tag, permissions, user] : entries)
    {
        list += {static_cast<char>(tag), '\0', static_cast<char>(permissions), '\0'};
        for (unsigned int shift = 0; shift < 32; shift += 8)
        {
            list += static_cast<char>((user >> shift) & 0xFFU);
        }
    }
    return list;
}

TEST(ModelFile, WhatIsReplacedIsAnotherFileAndNothingIsToldOfIt)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    const auto before = inodeOf(path);
    EXPECT_EQ(writeFile(path, "new").whyInPlace, "");
    EXPECT_NE(inodeOf(path), before);
}

TEST(ModelFile, KeepsExtendedAttributesAndTheAccessControlList)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    if (setxattr(path.c_str(), "user.origin", "plant 7", 7, 0) != 0 ||
        setxattr(path.c_str(), "system.posix_acl_access", accessList().data(), accessList().size(), 0) != 0)
    {
        GTEST_SKIP() << "the file system has none";
    }
    ASSERT_EQ(chmod(path.c_str(), 0640), 0) << "which the list is part of";
    const auto list = attributeOf(path, "system.posix_acl_access");
    EXPECT_EQ(writeFile(path, "new").whyInPlace, "");
    EXPECT_EQ(attributeOf(path, "user.origin"), "plant 7");
    EXPECT_EQ(attributeOf(path, "system.posix_acl_access"), list);
    EXPECT_NE(list, "");
}

TEST(ModelFile, TakesNoAccessControlListFromTheDirectory)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    if (setxattr(directory.getPath().c_str(), "system.posix_acl_default", accessList().data(),
                 accessList().size(), 0) != 0)
    {
        GTEST_SKIP() << "the file system has none";
    }
    EXPECT_EQ(writeFile(path, "new").whyInPlace, "");
    EXPECT_EQ(attributeOf(path, "system.posix_acl_access"), "");
}

TEST(ModelFile, AFileWithOtherNamesIsWrittenInPlace)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old content");
    fs::create_hard_link(path, directory.getPath() / "other");
    durabilityCalls.clear();
    EXPECT_EQ(writeFile(path, "new").whyInPlace, "it has other names");
    EXPECT_EQ(directory.read("other"), "new");
    EXPECT_EQ(directory.read("f"), "new");
    EXPECT_THAT(durabilityCalls, ElementsAre("fsync file"));
    EXPECT_THAT(directory.list(), ElementsAre("f", "other"));
}

TEST(ModelFile, AFileWhoseOwnerCannotBeKeptIsWrittenInPlace)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    const auto before = inodeOf(path);
    if (chown(path.c_str(), 1234, 1234) != 0)
    {
        GTEST_SKIP() << "only the super-user can give files away";
    }
    const Failing failing(fchownError, EPERM);
    EXPECT_EQ(writeFile(path, "new").whyInPlace, "its owner cannot be given to another file");
    EXPECT_EQ(directory.read("f"), "new");
    EXPECT_EQ(inodeOf(path), before);
    EXPECT_THAT(directory.list(), ElementsAre("f"));
}

TEST(ModelFile, TheOwnerIsKeptWhereThatIsPossible)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    if (chown(path.c_str(), 1234, 4321) != 0)
    {
        GTEST_SKIP() << "only the super-user can give files away";
    }
    EXPECT_EQ(writeFile(path, "new").whyInPlace, "");
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1234U);
    EXPECT_EQ(status.st_gid, 4321U);
}

TEST(ModelFile, AFileWhoseNameCannotBeTakenIsWrittenInPlace)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    const Failing failing(renameError, EBUSY);
    EXPECT_EQ(writeFile(path, "new").whyInPlace, "its name cannot be given to another file");
    EXPECT_EQ(directory.read("f"), "new");
    EXPECT_THAT(directory.list(), ElementsAre("f"));
}

TEST(ModelFile, InADirectoryThatCannotBeWrittenAFileIsWrittenInPlace)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    const OrdinaryUser user(directory);
    ASSERT_EQ(chmod(directory.getPath().c_str(), 0500), 0);
    EXPECT_EQ(writeFile(path, "new").whyInPlace, "its directory cannot be written");
    EXPECT_EQ(messageOf([&] { writeFile(directory.getPath() / "fresh", "x"); }),
              (directory.getPath() / "fresh").string() + ": Permission denied");
    ASSERT_EQ(chmod(directory.getPath().c_str(), 0700), 0);
    EXPECT_EQ(directory.read("f"), "new");
}

TEST(ModelFile, AContentThatCannotBeWrittenInPlaceIsTakenBack)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "the old content");
    fs::create_hard_link(path, directory.getPath() / "other");
    const Failing failing(fsyncError, EIO);
    EXPECT_EQ(messageOf([&] { writeFile(path, "new"); }), path + ": Input/output error");
    EXPECT_EQ(directory.read("f"), "the old content");
}

TEST(ModelFile, APipeIsWrittenAsItIs)
{
    const TestDirectory directory;
    const auto path = (directory.getPath() / "pipe").string();
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(writeFile(path, "new").whyInPlace, "it is not a regular file");
    std::string read(10, '\0');
    read.resize(static_cast<std::size_t>(::read(reader, read.data(), read.size())));
    close(reader);
    EXPECT_EQ(read, "new");
    EXPECT_THAT(directory.list(), ElementsAre("pipe"));
}

TEST(ModelFile, AReadOnlyFileIsOneThatMayNotBeWritten)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    EXPECT_FALSE(isReadOnly(path));
    EXPECT_FALSE(isReadOnly(directory.getPath() / "none"));
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
    EXPECT_TRUE(isReadOnly(path)) << "also for the super-user";
    ASSERT_EQ(chmod(path.c_str(), 0464), 0);
    const OrdinaryUser user(directory);
    EXPECT_TRUE(isReadOnly(path)) << "the group does not matter to the owner";
}

// How a process ends that writes the file and gets the signal when it has written all of it, but not yet made it durable.
int endOfWriting(const std::string& path, int signal)
{
    const pid_t child = fork();
    if (child == 0)
    {
        fsyncSignal = signal;
        writeFile(path, "new");
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

TEST(ModelFile, ASignalThatEndsTheProcessLeavesTheOldFileAlone)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    for (const int signal : {SIGHUP, SIGINT, SIGTERM})
    {
        EXPECT_EQ(endOfWriting(path, signal), signal);
        EXPECT_EQ(directory.read("f"), "old");
        EXPECT_THAT(directory.list(), ElementsAre("f"));
    }
}

TEST(ModelFile, ASignalWaitsUntilAFileIsWrittenInPlace)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old content");
    fs::create_hard_link(path, directory.getPath() / "other");
    EXPECT_EQ(endOfWriting(path, SIGTERM), SIGTERM);
    EXPECT_EQ(directory.read("f"), "new");
}

TEST(ModelFile, ASignalThatIsIgnoredStaysIgnored)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    const auto before = std::signal(SIGINT, SIG_IGN);
    EXPECT_EQ(endOfWriting(path, SIGINT), 0);
    std::signal(SIGINT, before);
    EXPECT_EQ(directory.read("f"), "new");
}

TEST(ModelFile, AfterAFileIsWrittenSignalsAreAsBefore)
{
    const TestDirectory directory;
    writeFile(directory.write("f", "old"), "new");
    for (const int signal : {SIGHUP, SIGINT, SIGTERM})
    {
        struct sigaction action = {};
        ASSERT_EQ(sigaction(signal, nullptr, &action), 0);
        EXPECT_EQ(action.sa_handler, SIG_DFL);
    }
}

TEST(ModelFile, WhatAKilledProcessHasLeftIsRemoved)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    const std::string other = directory.write("g", "old");
    EXPECT_EQ(endOfWriting(path, SIGKILL), SIGKILL);
    EXPECT_EQ(endOfWriting(other, SIGKILL), SIGKILL);
    EXPECT_EQ(directory.read("f"), "old");
    ASSERT_EQ(directory.list().size(), 4U);
    const auto left = directory.list()[0];
    EXPECT_THAT(left, testing::StartsWith(".f.model-editor-"));
    removeTemporaries(path);
    EXPECT_EQ(directory.list().size(), 3U);
    EXPECT_FALSE(fs::exists(directory.getPath() / left));
    removeTemporaries(other);
    EXPECT_THAT(directory.list(), ElementsAre("f", "g"));
}

TEST(ModelFile, WhatMayStillBeWrittenIsNotRemoved)
{
    const TestDirectory directory;
    const std::string path = directory.write("f", "old");
    const auto mine = ".f.model-editor-" + std::to_string(getpid()) + "-1";
    directory.write(mine, "by a process that is there");
    directory.write(".f.model-editor-", "by nobody");
    directory.write(".f.model-editor-x-1", "by nobody");
    EXPECT_EQ(endOfWriting(path, SIGKILL), SIGKILL);
    const auto all = directory.list();
    ASSERT_EQ(all.size(), 5U);
    int locked = -1;
    for (const auto& name : all)
    {
        if (name != mine && name != "f" && name.size() > mine.size() - 2 && !name.ends_with("x-1"))
        {
            locked = open((directory.getPath() / name).c_str(), O_RDONLY);
            EXPECT_EQ(flock(locked, LOCK_EX), 0);
        }
    }
    ASSERT_NE(locked, -1);
    removeTemporaries(path);
    EXPECT_EQ(directory.list(), all) << "another machine's process may have the lock";
    close(locked);
    removeTemporaries(path);
    EXPECT_EQ(directory.list().size(), 4U);
}

TEST(ModelFile, LongNamesHaveTemporaryFilesToo)
{
    const TestDirectory directory;
    const std::string path = directory.write(std::string(255, 'f'), "old");
    EXPECT_EQ(writeFile(path, "new").whyInPlace, "");
    EXPECT_EQ(endOfWriting(path, SIGKILL), SIGKILL);
    EXPECT_EQ(directory.list().size(), 2U);
    removeTemporaries(path);
    EXPECT_EQ(directory.list().size(), 1U);
}

} // namespace
