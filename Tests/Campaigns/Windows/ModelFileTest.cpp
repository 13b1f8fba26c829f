// What the editor reads and saves on Windows.

#include "Examples/ModelEditor/ModelFile.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>
#include <windows.h>

namespace
{

namespace fs = std::filesystem;
using ModelEditor::readFile;
using ModelEditor::replaceFile;
using Valdane::VdException;

class ModelFileOnWindows : public testing::Test
{
protected:
    ModelFileOnWindows()
    {
        fs::remove_all(directory);
        fs::create_directory(directory);
    }

    ~ModelFileOnWindows() override
    {
        fs::remove_all(directory);
    }

    std::string in(const std::string& name) const
    {
        return directory.string() + "/" + name;
    }

    std::ptrdiff_t countFiles() const
    {
        return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
    }

    fs::path directory = "files-of-model-file-test";
};

TEST_F(ModelFileOnWindows, ReplacesTheContentWholeAndLeavesNothingElse)
{
    std::string bytes("a\0\r\n\xFF\x1A", 6);
    bytes.append(100'000, 'x');
    replaceFile(in("f"), "old");
    replaceFile(in("f"), bytes);
    EXPECT_EQ(readFile(in("f")), bytes);
    EXPECT_EQ(countFiles(), 1);
}

TEST_F(ModelFileOnWindows, NamesAreUtf8)
{
    replaceFile(in("Bl\xC3\xB6"
                   "cke"),
                "content");
    EXPECT_TRUE(fs::exists(directory / u8"Bl\u00F6cke"));
    EXPECT_EQ(readFile(in("Bl\xC3\xB6"
                          "cke")),
              "content");
}

TEST_F(ModelFileOnWindows, AReadOnlyFileIsReportedAndLeft)
{
    replaceFile(in("f"), "old");
    SetFileAttributesW((directory / "f").c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_THROW(replaceFile(in("f"), "new"), VdException);
    EXPECT_EQ(readFile(in("f")), "old");
    EXPECT_EQ(countFiles(), 1);
    SetFileAttributesW((directory / "f").c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(ModelFileOnWindows, AFileThatSomebodyHoldsIsReportedAndLeft)
{
    replaceFile(in("f"), "old");
    const HANDLE held = CreateFileW((directory / "f").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_THROW(replaceFile(in("f"), "new"), VdException);
    CloseHandle(held);
    EXPECT_EQ(readFile(in("f")), "old");
    EXPECT_EQ(countFiles(), 1);
}

TEST_F(ModelFileOnWindows, WhatIsNoFileIsRefused)
{
    EXPECT_THROW(readFile(in("missing")), VdException);
    EXPECT_THROW(readFile(directory.string()), VdException);
    EXPECT_THROW(readFile("NUL"), VdException);
    EXPECT_THROW(replaceFile(directory.string(), ""), VdException);
    EXPECT_THROW(replaceFile(in("missing/f"), ""), VdException);
}

} // namespace
