// Sessions of the model editor. The first byte says how they are held (see Mode), the rest are the lines that are played
// on a small model; what must be true after every line, and of undoing and redoing all of them, is required.

#include "Applications/ModelEditor/Document/LoadedModel.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Terminal/Background.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Applications/ModelEditor/Terminal/LineSource.h"
#include "Applications/ModelEditor/Terminal/Session.h"
#include "Applications/ModelEditor/Terminal/StreamLines.h"
#include "Applications/ModelEditor/Terminal/WakeUp.h"
#include "Content.h"
#include "FuzzTarget.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <spdlog/spdlog.h>

#include <array>
#include <exception>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

using namespace ModelEditor;

constexpr const char* modelFile = "model.xml";

constexpr std::string_view modelText = R"(<?xml version="1.0"?>
<!-- A small one. -->
<robot name="r" xmlns:note="urn:note" a:b='c'>
  <link name="arm" note:by="me"><mass value="3.50"/><visible>true</visible></link>
  <link name="hand"><mass value="4"/> <![CDATA[a < b]]> text &amp; more<?do it?></link>
  <joint name="wrist" type='fixed' link="arm" limit="4294967295"><origin xyz="0 0 1" rpy=""/> </joint>
  <plugin file="x.so"/>
</robot>
)";

constexpr std::string_view otherText = "<robot name='other' xmlns:n='urn:n'><link name='arm' n:a='1'/>"
                                       "<joint name='j' link='none'>2</joint></robot>";

struct Mode
{
    explicit Mode(unsigned char byte)
        : isInteractive((byte & 1U) != 0), keepsGoing((byte & 2U) != 0), echoes((byte & 4U) != 0)
    {
    }

    bool isInteractive;
    bool keepsGoing;
    bool echoes;
};

/// The words of a line, the verb in full; none if it cannot be split or has no verb.
std::vector<std::string> wordsOf(const std::string& line)
{
    try
    {
        auto words = splitWords(line);
        if (!words.empty())
        {
            words.front() = Editor::findVerb(words.front());
        }
        return words;
    }
    catch (const std::exception&)
    {
        return {};
    }
}

/// Hands out the lines of a script, then lines that undo and redo all, and looks at what each of them does.
class WatchedLines : public LineSource
{
public:
    WatchedLines(std::istream& script, const XmlModel& edited, const std::ostringstream& results,
                 const std::ostringstream& failures)
        : lines(script), model(edited), out(results), err(failures), opened(edited.toBytes()), saved(opened)
    {
    }

    std::optional<std::string> next(const std::string& prompt) override
    {
        if (!prompt.starts_with("model"))
        {
            return prompt.ends_with("(y/n) ") ? answer(prompt) : interject();
        }
        settle();
        check();
        isInGroup = prompt.find(" (") != std::string::npos;
        auto line = nextOfScript();
        if (!line)
        {
            line = nextOfEnd(prompt);
        }
        words = line ? wordsOf(*line) : std::vector<std::string>();
        hasLimit = hasLimit || (verb() == "limit" && words.size() > 1);
        before = model.toBytes();
        complained = err.str().size();
        return line;
    }

    void serve(Background& served) override
    {
        background = &served;
    }

private:
    using Check = void (WatchedLines::*)();

    struct Step
    {
        const char* line;
        Check check;
    };

    std::string verb() const
    {
        return words.empty() ? "" : words.front();
    }

    bool hasFailed() const
    {
        return err.str().size() != complained;
    }

    /// A person who strikes the end key is asked again and again; the end of the script means yes.
    std::optional<std::string> answer(const std::string& question)
    {
        auto line = lines.next(question);
        return line || step < steps.size() ? line : "y";
    }

    /// A line of the script that neither reaches for files elsewhere nor puts another model in the place of the watched one.
    std::optional<std::string> nextOfScript()
    {
        while (auto line = lines.next({}))
        {
            const auto split = wordsOf(*line);
            if (!split.empty() && (split[0].starts_with("reload") || split[0] == "open"))
            {
                continue;
            }
            if (split.size() < 2 || split[1].find('/') == std::string::npos ||
                (split[0] != "import" && split[0] != "save" && split[0] != "save!" && split[0] != "export" &&
                 split[0] != "stop"))
            {
                return line;
            }
        }
        return {};
    }

    std::optional<std::string> nextOfEnd(const std::string& prompt)
    {
        if (isInGroup)
        {
            return "end";
        }
        if (prompt.find(" [recording]") != std::string::npos)
        {
            return "stop";
        }
        if (step == steps.size())
        {
            return {};
        }
        checkOfStep = steps[step].check;
        return steps[step++].line;
    }

    /// What is typed while work goes on: what can be, is; anything else waits for its end.
    std::optional<std::string> interject()
    {
        const auto line = nextOfScript();
        const auto split = line ? wordsOf(*line) : std::vector<std::string>();
        if (!split.empty() && (split[0] == "status" || split[0] == "help" || split[0] == "abort"))
        {
            return line;
        }
        if (line && line->starts_with('!'))
        {
            background->interrupt();
        }
        settle();
        return "# over";
    }

    void settle()
    {
        if (background == nullptr || !background->isUnderWay())
        {
            return;
        }
        do
        {
            background->getWakeUp().wait();
        } while (!background->goOn());
        background->conclude();
    }

    /// Looks at what the last line has done.
    void check()
    {
        const bool mayChange = isInGroup || verb() == "undo" || verb() == "redo" || verb() == "goto";
        require(!hasFailed() || mayChange || model.toBytes() == before,
                verb() + " has failed and changed something");
        if ((verb() == "save" || verb() == "save!") && !hasFailed())
        {
            saved = model.toBytes();
        }
        if (const auto checked = std::exchange(checkOfStep, nullptr))
        {
            require(!hasFailed(), verb() + " failed: " + err.str().substr(complained));
            (this->*checked)();
        }
    }

    void checkModified()
    {
        const bool isUnmodified = out.str().ends_with("\n0 modules\n") || out.str() == "0 modules\n";
        require(!isUnmodified || model.toBytes() == saved, "unmodified, but not as it was saved");
    }

    void checkUndone()
    {
        require(hasLimit || model.toBytes() == opened, "undone, it is not as it was opened");
    }

    void checkRedone()
    {
        const auto bytes = model.toBytes();
        require(!redone || bytes == *redone, "redone, it is not as it was redone before");
        redone = bytes;
    }

    static constexpr const char* undoAll = "undo 18446744073709551615";
    static constexpr const char* redoAll = "redo 18446744073709551615";
    static constexpr std::array steps{
        Step{"modified", &WatchedLines::checkModified}, Step{undoAll, &WatchedLines::checkUndone},
        Step{"modified", &WatchedLines::checkModified}, Step{redoAll, &WatchedLines::checkRedone},
        Step{"modified", &WatchedLines::checkModified}, Step{undoAll, &WatchedLines::checkUndone},
        Step{redoAll, &WatchedLines::checkRedone},
    };

    StreamLines lines;
    const XmlModel& model;
    const std::ostringstream& out;
    const std::ostringstream& err;
    Background* background = nullptr;
    std::string opened;
    std::string saved;
    std::optional<std::string> redone;
    std::string before;
    std::vector<std::string> words;
    bool isInGroup = false;
    bool hasLimit = false;
    std::size_t complained = 0;
    std::size_t step = 0;
    Check checkOfStep = nullptr;
};

/// Everything happens in a directory of its own, which has two models each time.
class Workplace
{
public:
    Workplace() : before(std::filesystem::current_path())
    {
        static const TestDirectory directory;
        std::filesystem::current_path(directory.getPath());
        for (const auto& name : directory.list())
        {
            std::filesystem::remove_all(name);
        }
        directory.write(modelFile, std::string(modelText));
        directory.write("other.xml", std::string(otherText));
    }

    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    ~Workplace()
    {
        std::filesystem::current_path(before);
    }

private:
    std::filesystem::path before;
};

void play(const Mode& mode, const std::string& script)
{
    auto loaded = loadModel(modelFile);
    const XmlModel& model = *loaded.model;
    std::istringstream lines(script);
    std::ostringstream out;
    std::ostringstream err;
    WatchedLines source(lines, model, out, err);
    const Session::Settings settings{.savePath = modelFile,
                                     .sourceName = "script",
                                     .isInteractive = mode.isInteractive,
                                     .echoes = mode.echoes,
                                     .keepsGoing = mode.keepsGoing};
    std::vector<LoadedModel> models;
    models.push_back(std::move(loaded));
    Session session(std::move(models), settings, out, err);
    session.run(source);
    const XmlModel again(model.toBytes(), "the model as it was left");
    requireSame(contentOf(again.getRoot()->getElement()), contentOf(model.getRoot()->getElement()),
                "opened again, it is not what it was");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 0)
    {
        spdlog::set_level(spdlog::level::off);
        const Workplace workplace;
        play(Mode(data[0]), std::string(data + 1, data + size));
    }
    return 0;
}
