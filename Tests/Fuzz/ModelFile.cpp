// Model files: any bytes are opened as one. Where they are a model, it is looked through, edited, undone, redone, imported
// into itself, and opened again.

#include "Applications/ModelEditor/Document/ImportMarkup.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/CheckCmd.h"
#include "Applications/ModelEditor/Edits/ImportCmd.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Content.h"
#include "FuzzTarget.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using namespace ModelEditor;

constexpr std::size_t mostValues = 20;
constexpr const char* undoAll = "undo 18446744073709551615";
constexpr const char* redoAll = "redo 18446744073709551615";

/// What @p bytes would be if they were read as a file; nothing if they are no model.
std::optional<std::string> openedContent(const std::string& bytes)
{
    try
    {
        const XmlModel model(bytes, "again");
        return contentOf(model.getRoot()->getElement());
    }
    catch (const Valdane::VdException&)
    {
        return {};
    }
}

/// What an encoding cannot write must be told, and is then no finding.
std::optional<std::string> bytesOf(const XmlModel& model)
{
    try
    {
        return model.toBytes();
    }
    catch (const Valdane::VdException&)
    {
        return {};
    }
}

/// A model that is worked on by lines.
class Bench
{
public:
    explicit Bench(const std::string& bytes)
        : model(bytes, "model"),
          editor(
              model, [](const Output& /*unused*/) {}, out)
    {
    }

    /// @return whether it went well; if not, nothing must have changed.
    bool run(const std::vector<std::string>& words)
    {
        const auto before = bytesOf(model);
        try
        {
            editor.run(joinWords(words));
            return true;
        }
        catch (const Valdane::VdException&)
        {
            require(bytesOf(model) == before, words.front() + " has failed and changed something");
            return false;
        }
    }

    void requireRun(const std::string& line)
    {
        editor.run(line);
    }

    std::string content() const
    {
        return contentOf(model.getRoot()->getElement());
    }

    std::ostringstream out;
    XmlModel model;
    Editor editor;
};

/// Every address leads to what has it.
void checkAddresses(const XmlModel& model)
{
    std::size_t looked = 0;
    for (const auto& node : model.select("//*|//@*|//text()").nodes)
    {
        if (++looked > mostValues)
        {
            return;
        }
        const auto address = node.getAddress();
        const auto again = model.select(address).nodes;
        const bool isSame = again.size() == 1 && again[0].object == node.object &&
                            again[0].part == node.part && again[0].name == node.name &&
                            again[0].text == node.text;
        require(isSame, address + " is the address of something else");
    }
}

/// Gives each value another one of its type, and a text, and notes to some elements.
void edit(Bench& bench)
{
    static constexpr std::array<std::string_view, 8> values{
        "7", "-2.5", "true", "", "a < b ]]> & 'c' \"d\"", " \t\xC3\xA4 ", "4294967295", "1e300"};
    std::size_t number = 0;
    for (const auto& node : bench.model.select("//@*|//text()").nodes)
    {
        if (++number > mostValues)
        {
            break;
        }
        const auto address = node.getAddress();
        const std::string verb = node.part == Part::Name ? "rename" : "set";
        const auto where = node.part == Part::Name ? node.object->getAddress() : address;
        bench.run({verb, where, std::string(values[number % values.size()])});
        bench.run({verb, where, std::string(values[(number * 3 + 1) % values.size()])});
    }
    number = 0;
    for (const auto& node : bench.model.select("//*").nodes)
    {
        if (++number > mostValues)
        {
            break;
        }
        const auto where = node.getAddress();
        bench.run({"annotate", where, "n:a" + std::to_string(number % 3),
                   std::string(values[number % values.size()])});
        if (number % 4 == 0)
        {
            bench.run({"clear-annotations", where, "n"});
        }
    }
}

/// How a line says which node it means: comments and instructions have no address of their own.
std::string placeOf(const Selected& selected)
{
    return selected.getAddress() + (selected.part == Part::Unsupported ? "/comment()" : "");
}

/// Puts nodes in, takes some out, moves, copies and wraps some.
void restructure(Bench& bench)
{
    static constexpr std::array<std::string_view, 8> markups{
        "<n/>", "t", "]]", "<a b='c'>d</a> <!-- e -->", "&gt;", "<![CDATA[f]]>", "<?g h?>", "i<j/> "};
    static constexpr std::array<std::string_view, 4> places{"", "--first", "--before", "--after"};
    for (std::size_t number = 1; number <= mostValues; ++number)
    {
        const auto nodes = bench.model.select("//node()").nodes;
        const auto node = placeOf(nodes[number * 7 % nodes.size()]);
        const auto target = placeOf(nodes[number * 3 % nodes.size()]);
        std::vector<std::string> words;
        switch (number % 5)
        {
        case 0:
            words = {"delete", node};
            break;
        case 1:
            words = {"wrap", node, "w"};
            break;
        case 2:
            words = {"move", node, target};
            break;
        case 3:
            words = {"copy", node, target};
            break;
        default:
            words = {"insert", node, std::string(markups[number % markups.size()])};
            break;
        }
        const auto place = places[number % places.size()];
        if (words.size() == 3 && number % 5 != 1 && !place.empty())
        {
            words.emplace_back(place);
        }
        bench.run(words);
    }
}

void checkEdits(const std::string& bytes)
{
    Bench bench(bytes);
    const auto content = bench.content();
    edit(bench);
    restructure(bench);
    edit(bench);
    const auto edited = bytesOf(bench.model);
    const auto editedContent = bench.content();
    requireSame(edited ? openedContent(*edited).value_or("no model") : editedContent, editedContent,
                "opened again, it is not what it was");
    bench.requireRun(undoAll);
    requireSame(bench.model.toBytes(), bytes, "undone, it is not as it was opened");
    requireSame(bench.content(), content, "undone, it does not say what it said");
    bench.requireRun(redoAll);
    requireSame(bytesOf(bench.model).value_or(""), edited.value_or(""), "redone, it is not as it was edited");
    requireSame(bench.content(), editedContent, "redone, it does not say what it said when it was edited");
}

void look(const std::string& bytes)
{
    Bench bench(bytes);
    checkAddresses(bench.model);
    bench.run({"tree", "99"});
    bench.run({"find", "//node()"});
    bench.run({"show", "/*"});
    CheckCmd(bench.model).run();
}

/// Its own modules once more, and others.
void checkImport(const std::string& bytes, const std::string& imported)
{
    XmlModel model(bytes, "model");
    XmlDocument from(imported, "imported");
    std::optional<ImportCmd> command;
    try
    {
        command.emplace(model, takeModules(from, model.getRoot()->getElement(), model.getEncoding()).markup,
                        "Import");
    }
    catch (const Valdane::VdException&)
    {
        return;
    }
    const auto before = contentOf(model.getRoot()->getElement());
    command->execute();
    checkAddresses(model);
    const auto appended = bytesOf(model);
    const auto after = contentOf(model.getRoot()->getElement());
    requireSame(appended ? openedContent(*appended).value_or("no model") : after, after,
                "with an import, opened again, it is not what it was");
    command->undo();
    requireSame(model.toBytes(), bytes, "without the import, it is not as it was opened");
    requireSame(contentOf(model.getRoot()->getElement()), before,
                "without the import, it does not say what it said");
    command->redo();
    requireSame(bytesOf(model).value_or(""), appended.value_or(""),
                "imported once more, it is not as it was");
    requireSame(contentOf(model.getRoot()->getElement()), after,
                "imported once more, it does not say what it said");
}

bool isModel(const std::string& bytes)
{
    try
    {
        const XmlModel model(bytes, "model");
        requireSame(model.toBytes(), bytes, "unchanged, it is not as it was opened");
        return true;
    }
    catch (const Valdane::VdException&)
    {
        return false;
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    spdlog::set_level(spdlog::level::off);
    const std::string bytes(data, data + size);
    const std::string other = "<r xmlns:n='u' xmlns='v'><n:m a='1'>t</n:m><!-- c --><link name='x'/></r>";
    if (isModel(bytes))
    {
        look(bytes);
        checkEdits(bytes);
        checkImport(bytes, bytes);
        checkImport(bytes, other);
        checkImport(other, bytes);
    }
    return 0;
}
