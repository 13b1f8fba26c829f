#pragma once

#include "Applications/ModelEditor/Terminal/LineSource.h"
#include "Applications/ModelEditor/Terminal/Session.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

/// A line, or what another process does before the next one.
using SessionStep = std::variant<std::string, std::function<void()>>;

/// Gives them one after the other.
class SessionSteps : public ModelEditor::LineSource
{
public:
    explicit SessionSteps(std::vector<SessionStep> given) : steps(std::move(given)) {}

    std::optional<std::string> next(const std::string& /*prompt*/) override
    {
        while (position < steps.size())
        {
            const SessionStep& step = steps[position++];
            if (const auto* const line = std::get_if<std::string>(&step))
            {
                return *line;
            }
            std::get<std::function<void()>>(step)();
        }
        return {};
    }

private:
    std::vector<SessionStep> steps;
    std::size_t position = 0;
};

/// Sessions in a directory of their own, of `m.xml` unless the test says otherwise.
class SessionFixture : public testing::Test
{
protected:
    bool play(std::vector<SessionStep> steps, const ModelEditor::Session::Settings& settings)
    {
        out.str("");
        err.str("");
        SessionSteps source(std::move(steps));
        std::vector<ModelEditor::LoadedModel> models;
        for (const auto& file : files)
        {
            models.push_back(ModelEditor::loadModel(file));
        }
        return ModelEditor::Session(std::move(models), settings, out, err).run(source);
    }

    bool playScript(std::vector<SessionStep> steps)
    {
        return play(std::move(steps), {.savePath = path, .sourceName = "s"});
    }

    void type(std::vector<SessionStep> steps)
    {
        steps.emplace_back("quit");
        steps.emplace_back("y");
        play(std::move(steps), {.savePath = path, .sourceName = "s", .isInteractive = true});
    }

    std::function<void()> writing(const std::string& name, const std::string& bytes) const
    {
        return [this, name, bytes]
        {
            directory.write(name, bytes);
        };
    }

    std::function<void()> removing(const std::string& name) const
    {
        return [this, name]
        {
            std::filesystem::remove(directory.getPath() / name);
        };
    }

    const std::string original = "<a x='1'/>\n";
    const std::string changed = "<a x='100' y=''/>\n";
    const std::string refusal = " by another process since it was loaded or saved; save! overwrites it\n";
    TestDirectory directory;
    const std::string path = directory.write("m.xml", original);
    std::vector<std::string> files{path};
    const std::string other = (directory.getPath() / "o.xml").string();
    std::ostringstream out;
    std::ostringstream err;
};
