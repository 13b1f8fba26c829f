#pragma once

#include "Applications/ModelEditor/Desktop/MainWindow.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace ModelEditor
{
class DocumentTab;
} // namespace ModelEditor

/// A window with files in a folder of their own.
class DesktopFixture : public testing::Test
{
protected:
    DesktopFixture();
    ~DesktopFixture() override;

    /// Opens a copy of a file of Models/, or a file with these bytes.
    ModelEditor::DocumentTab& openCopyOf(const std::string& model);
    ModelEditor::DocumentTab& openBytes(const std::string& name, const std::string& bytes);

    /// The file as another reader sees it.
    std::string read(const std::string& name) const;

    /// Runs the event loop until nothing is left to do and no run has a model.
    void settle();

    /// Has @p act called with the next modal dialog, which has to end by it.
    void onNextDialog(const std::function<void(QWidget& dialog)>& act);

    TestDirectory directory;
    ModelEditor::MainWindow window;
};
