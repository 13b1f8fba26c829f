#pragma once

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// An editor of a small model. What it prints and writes is kept.
class EditorFixture : public testing::Test
{
protected:
    explicit EditorFixture(const std::string& file) : model(file, "m") {}

    /// What the line prints, or what it throws.
    std::string run(const std::string& line)
    {
        out.str("");
        try
        {
            editor.run(line);
            return out.str();
        }
        catch (const Valdane::VdException& exception)
        {
            EXPECT_EQ(out.str(), "") << "output of what failed";
            return exception.what();
        }
    }

    std::vector<ModelEditor::Output> written;
    ModelEditor::XmlModel model;
    std::ostringstream out;
    ModelEditor::Editor editor{
        model, [this](ModelEditor::Output output) { written.push_back(std::move(output)); }, out};
};
