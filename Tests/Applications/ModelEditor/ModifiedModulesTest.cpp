#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Applications/ModelEditor/Terminal/ModelView.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// Random edits, multi-node edits, groups (ended, abandoned, failing), merges, recordings, saves, exports,
// limits, undos and redos, on real models. After each line, what `modified` tells of both save points is
// compared with
//
// - brute force: every module as it would be written now, against the same module in the file last written;
// - an expectation of its own, which knows no command manager, only which modules each line has changed.
//
// Where every edit writes a value that was never there before, `modified` must equal brute force, without
// exception. Where edits write any values, it may tell of more modules in one case only: a module that was
// changed, and changed back by another edit instead of by an undo, so that it is equal again. The expectation
// has that case, and is met exactly. Never does `modified` leave a module out.

namespace
{

using ModelEditor::Editor;
using ModelEditor::Output;
using ModelEditor::Part;
using ModelEditor::Selected;
using ModelEditor::XmlModel;
using Modules = std::set<std::size_t>;

enum class Values
{
    Fresh,
    Any,
};

struct Case
{
    std::string model;
    unsigned int seed;
    Values values;
};

void PrintTo(const Case& tested, std::ostream* out)
{
    *out << tested.model << " with seed " << tested.seed
         << (tested.values == Values::Fresh ? ", fresh values" : ", any values");
}

// The modules as they stand in a file: what belongs to the root itself, then its elements.
std::vector<std::string> modulesOf(const std::string& file)
{
    const auto print = [](pugi::xml_node node)
    {
        std::ostringstream text;
        node.print(text, "", pugi::format_raw | pugi::format_no_declaration);
        return text.str();
    };
    pugi::xml_document document;
    document.load_buffer(file.data(), file.size(), pugi::parse_full | pugi::parse_ws_pcdata);
    auto root = document.document_element();
    std::vector<std::string> modules{""};
    for (auto child = root.first_child(); child;)
    {
        const auto following = child.next_sibling();
        if (child.type() == pugi::node_element)
        {
            modules.push_back(print(child));
            root.remove_child(child);
        }
        child = following;
    }
    modules.front() = print(root);
    return modules;
}

Modules differenceOf(const std::vector<std::string>& left, const std::vector<std::string>& right)
{
    Modules different;
    for (std::size_t i = 0; i < left.size(); ++i)
    {
        if (left[i] != right.at(i))
        {
            different.insert(i);
        }
    }
    return different;
}

Modules unite(Modules left, const Modules& right)
{
    left.insert(right.begin(), right.end());
    return left;
}

// The rules, for what each line has changed.
class Expectation
{
public:
    bool isInGroup() const
    {
        return inGroup;
    }

    bool isRecording() const
    {
        return scopes.size() > (inGroup ? 2U : 1U);
    }

    void edit(const Modules& changed)
    {
        merge(changed);
        settle();
    }

    void merge(const Modules& changed)
    {
        scopes.back().waiting = unite(scopes.back().waiting.value_or(Modules()), changed);
    }

    void undo(std::size_t count)
    {
        settle();
        scopes.back().position -= std::min(count, scopes.back().position);
    }

    void redo(std::size_t count)
    {
        settle();
        auto& scope = scopes.back();
        scope.position += std::min(count, scope.steps.size() - scope.position);
    }

    void begin(bool isGroup)
    {
        settle();
        scopes.emplace_back();
        inGroup = isGroup;
    }

    void end()
    {
        settle();
        const Modules changed = changedIn(scopes.back());
        const bool isEmpty = scopes.back().position == 0;
        leave();
        if (!isEmpty)
        {
            push(changed);
        }
    }

    void leave()
    {
        scopes.pop_back();
        inGroup = false;
    }

    void save(std::size_t tracker)
    {
        settle();
        const auto& whole = scopes.front();
        auto& all = differs.at(tracker);
        all[whole.position].clear();
        for (std::size_t i = whole.position; i > 0; --i)
        {
            all[i - 1] = unite(all[i], whole.steps[i - 1]);
        }
        for (std::size_t i = whole.position; i < whole.steps.size(); ++i)
        {
            all[i + 1] = unite(all[i], whole.steps[i]);
        }
    }

    void setLimit(const std::optional<std::size_t>& most)
    {
        settle();
        limit = most;
        applyLimit();
    }

    Modules modified(std::size_t tracker) const
    {
        Modules all = differs.at(tracker)[scopes.front().position];
        for (const auto& scope : scopes)
        {
            all = unite(all, scope.waiting.value_or(Modules()));
            all = &scope == &scopes.front() ? all : unite(all, changedIn(scope));
        }
        return all;
    }

private:
    struct Scope
    {
        std::vector<Modules> steps;
        std::size_t position = 0;
        std::optional<Modules> waiting;
    };

    static Modules changedIn(const Scope& scope)
    {
        Modules all;
        for (std::size_t i = 0; i < scope.position; ++i)
        {
            all = unite(all, scope.steps[i]);
        }
        return all;
    }

    void settle()
    {
        if (const auto waiting = std::exchange(scopes.back().waiting, std::nullopt))
        {
            push(*waiting);
        }
    }

    void push(const Modules& changed)
    {
        auto& scope = scopes.back();
        scope.steps.resize(scope.position);
        scope.steps.push_back(changed);
        ++scope.position;
        if (scopes.size() == 1)
        {
            for (auto& all : differs)
            {
                all.resize(scope.position);
                all.push_back(unite(all.back(), changed));
            }
            applyLimit();
        }
    }

    void applyLimit()
    {
        auto& whole = scopes.front();
        if (limit && (*limit == 0 || *limit < whole.steps.size() - whole.position))
        {
            for (auto& all : differs)
            {
                all = {Modules(all[whole.position])};
            }
            whole = Scope();
        }
        while (limit && whole.steps.size() > *limit)
        {
            whole.steps.erase(whole.steps.begin());
            --whole.position;
            for (auto& all : differs)
            {
                all.erase(all.begin());
            }
        }
    }

    std::vector<Scope> scopes{1};
    // Of the whole history: the modules that differ from what was written, at each position.
    std::array<std::vector<Modules>, 2> differs{std::vector<Modules>(1), std::vector<Modules>(1)};
    std::optional<std::size_t> limit;
    bool inGroup = false;
};

// Writes lines that succeed whatever was done before.
class LineWriter
{
public:
    LineWriter(const XmlModel& edited, unsigned int seed, Values which)
        : model(edited), random(seed), values(which)
    {
        places = model.select("//@*|//text()").nodes;
    }

    std::string writeEdit()
    {
        const auto& place = places[pick(places.size())];
        const std::string element = place.object->getAddress();
        const std::string tag = std::string("//") + place.object->getElement().name();
        switch (pick(8))
        {
        case 0:
            return "annotate " + element + " note:n" + std::to_string(pick(3)) + " " + pickValue();
        case 1:
            return "annotate " + tag + " note:m " + pickValue();
        case 2:
            return "rename " + tag + "[@name]|//*[@name][1] " + pickValue();
        case 3:
            return place.part == Part::Value && place.name.find('(') == std::string::npos
                       ? "set " + tag + "/@" + place.name + " " + pickValue()
                       : writeEditOf(place);
        default:
            return writeEditOf(place);
        }
    }

    std::size_t pick(std::size_t count)
    {
        return random() % count;
    }

private:
    std::string writeEditOf(const Selected& place)
    {
        const std::string element = place.object->getAddress();
        if (place.part == Part::Annotation)
        {
            return "annotate " + element + " " + place.name + " " + pickValue();
        }
        return (place.part == Part::Name ? "rename " + element : "set " + place.getAddress()) + " " +
               pickValue();
    }

    std::string pickValue()
    {
        return std::to_string(values == Values::Fresh ? ++fresh : pick(2));
    }

    const XmlModel& model;
    std::mt19937 random;
    Values values;
    std::vector<Selected> places;
    std::size_t fresh = 1000;
};

class Walk
{
public:
    explicit Walk(const Case& chosen)
        : tested(chosen),
          file(readTestFile(besideTests("Data/Models/" + chosen.model))),
          model(file, chosen.model),
          editor(
              model, [this](const Output& output) { accept(output); }, out),
          lines(model, chosen.seed, chosen.values),
          written{modulesOf(file), modulesOf(file)}
    {
        addresses.emplace(model.getRoot()->getAddress(), addresses.size());
        for (const auto& module : model.select("/*/*").nodes)
        {
            addresses.emplace(module.getAddress(), addresses.size());
        }
    }

    void step()
    {
        const std::size_t kind = lines.pick(100);
        if (kind < 40)
        {
            edit(lines.writeEdit(), false);
        }
        else if (kind < 48)
        {
            edit(lines.writeEdit(), true);
        }
        else if (kind < 70)
        {
            move(kind < 60 ? "undo" : "redo");
        }
        else if (kind < 84)
        {
            stepScope(kind);
        }
        else
        {
            stepWhole(kind);
        }
        compare();
    }

    // How often `modified` told of more than brute force did.
    int extra = 0;
    int replayed = 0;
    int rolledBack = 0;
    std::set<std::string> verbs;

private:
    void accept(const Output& output)
    {
        if (output.verb == "stop")
        {
            script = output.bytes;
        }
        else
        {
            written.at(output.verb == "save" ? 0 : 1) = modulesOf(output.bytes);
        }
    }

    void run(const std::string& line)
    {
        last = line;
        verbs.insert(line.substr(0, line.find(' ')));
        out.str("");
        editor.run(line);
    }

    void edit(const std::string& line, bool merges)
    {
        const auto before = modulesOf(model.toBytes());
        run(merges ? "merge " + line : line);
        const auto changed = differenceOf(before, modulesOf(model.toBytes()));
        merges ? expected.merge(changed) : expected.edit(changed);
    }

    void move(const std::string& verb)
    {
        const std::size_t count = lines.pick(4);
        run(verb + " " + std::to_string(count));
        verb == "undo" ? expected.undo(count) : expected.redo(count);
    }

    void stepScope(std::size_t kind)
    {
        if (kind < 74 && !expected.isInGroup())
        {
            run("group g");
            expected.begin(true);
        }
        else if (kind < 77 && expected.isInGroup())
        {
            run("end");
            expected.end();
        }
        else if (kind < 78 && expected.isInGroup())
        {
            run("abandon");
            expected.leave();
        }
        else if (kind < 80)
        {
            fail();
        }
        else if (!expected.isInGroup())
        {
            expected.isRecording() ? stop() : record();
        }
    }

    // One fails when it is made, the other one when it is executed.
    void fail()
    {
        const std::array<std::string, 2> wrong{"set //nothing 1", "set //@value|//@start '\x01'"};
        EXPECT_THROW(run(wrong.at(lines.pick(2))), Valdane::VdException);
        if (expected.isInGroup() && lines.pick(2) == 0)
        {
            editor.giveUpGroup();
            ++rolledBack;
            expected.leave();
        }
    }

    void record()
    {
        run("record");
        recordedFrom = model.toBytes();
        expected.begin(false);
    }

    void stop()
    {
        run("stop script");
        expected.end();
        ++replayed;
        replay();
    }

    void replay() const
    {
        XmlModel again(recordedFrom, "again");
        std::ostringstream ignored;
        Editor player(
            again, [](const Output&) {}, ignored);
        std::istringstream all(script);
        for (std::string line; std::getline(all, line);)
        {
            player.run(line);
        }
        EXPECT_EQ(again.toBytes(), model.toBytes()) << script;
    }

    void stepWhole(std::size_t kind)
    {
        if (expected.isInGroup() || expected.isRecording())
        {
            return;
        }
        if (kind < 94)
        {
            run(kind < 89 ? "save" : "export f");
            expected.save(kind < 89 ? 0 : 1);
            return;
        }
        const std::size_t most = lines.pick(10);
        run(most >= 5 ? "limit off" : "limit " + std::to_string(most));
        expected.setLimit(most >= 5 ? std::nullopt : std::optional(most));
    }

    void compare()
    {
        const auto now = modulesOf(model.toBytes());
        for (std::size_t tracker = 0; tracker < written.size(); ++tracker)
        {
            const Modules told = ask(tracker);
            const Modules different = differenceOf(now, written.at(tracker));
            ASSERT_EQ(told, expected.modified(tracker)) << "tracker " << tracker << " after " << last;
            ASSERT_TRUE(std::ranges::includes(told, different)) << "tracker " << tracker << " after " << last;
            extra += told == different ? 0 : 1;
        }
    }

    Modules ask(std::size_t tracker)
    {
        out.str("");
        editor.run(tracker == 0 ? "modified save" : "modified export");
        std::istringstream told(out.str());
        Modules modules;
        for (std::string line; std::getline(told, line) && line.starts_with('/');)
        {
            modules.insert(addresses.at(line.substr(0, line.find(' '))));
        }
        return modules;
    }

    Case tested;
    std::string file;
    XmlModel model;
    std::ostringstream out;
    Editor editor;
    LineWriter lines;
    std::array<std::vector<std::string>, 2> written;
    std::map<std::string, std::size_t> addresses;
    Expectation expected;
    std::string script;
    std::string recordedFrom;
    std::string last;
};

class ModifiedModules : public testing::TestWithParam<Case>
{
};

TEST_P(ModifiedModules, AreThoseThatDifferFromTheFileLastWritten)
{
    Walk walk(GetParam());
    for (int i = 0; i < 1000 && !HasFailure(); ++i)
    {
        walk.step();
    }
    EXPECT_EQ(walk.extra == 0, GetParam().values == Values::Fresh) << walk.extra;
    EXPECT_GT(walk.rolledBack, 0);
    EXPECT_GT(walk.replayed, 5);
    EXPECT_EQ(walk.verbs,
              (std::set<std::string>{"abandon", "annotate", "end", "export", "group", "limit", "merge",
                                     "record", "redo", "rename", "save", "set", "stop", "undo"}));
}

INSTANTIATE_TEST_SUITE_P(
    Models, ModifiedModules,
    testing::Values(Case{"ur5_robot.urdf", 1, Values::Fresh}, Case{"ur5_robot.urdf", 2, Values::Fresh},
                    Case{"ur5_robot.urdf", 3, Values::Any}, Case{"ur5_robot.urdf", 4, Values::Any},
                    Case{"Feedthrough.xml", 1, Values::Fresh}, Case{"Feedthrough.xml", 2, Values::Fresh},
                    Case{"Feedthrough.xml", 3, Values::Any}, Case{"Feedthrough.xml", 4, Values::Any}));

} // namespace
