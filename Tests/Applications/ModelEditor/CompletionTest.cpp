#include "Applications/ModelEditor/Terminal/Completion.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Applications/ModelEditor/Terminal/Keys.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>

namespace
{

using ModelEditor::Completion;
using testing::ElementsAre;
using testing::IsEmpty;

class CompletionTest : public testing::Test
{
protected:
    static std::string words(const Completion& completion)
    {
        std::string text = std::to_string(completion.start) + ":";
        for (const auto& word : completion.words)
        {
            text += ' ' + word;
        }
        return text + '|' + completion.common + '|' + completion.ending;
    }

    std::string complete(const std::string& line)
    {
        return words(editor.complete(line));
    }

    ModelEditor::XmlModel model{
        "<robot name='r'><link name='base' x='1'/><link name=\"o'c\"/><link name='tip 1'><mass "
        "value='1' unit='kg'/></link><joint type='a'/><x:y xmlns:x='u'/></robot>",
        "m.xml"};
    std::ostringstream out;
    ModelEditor::Editor editor{model, [](const ModelEditor::Output&) {}, out};
};

} // namespace

TEST_F(CompletionTest, OfVerbs)
{
    EXPECT_EQ(complete("re"), "0: record redo reload reload! rename replace|re|");
    EXPECT_EQ(complete("ren"), "0: rename|rename| ");
    EXPECT_EQ(complete("merge ren"), "6: rename|rename| ");
    EXPECT_EQ(complete("help ren"), "5: rename|rename| ");
    EXPECT_EQ(complete("xyz"), "0:||");
    EXPECT_EQ(editor.complete("").words.size(), editor.complete("help ").words.size());
    EXPECT_GT(editor.complete("").words.size(), 30U);
    EXPECT_EQ(editor.complete("").common, "");
}

TEST_F(CompletionTest, OfWhatFollowsAShortenedVerb)
{
    EXPECT_EQ(complete("fin /robot/l"), complete("find /robot/l").replace(0, 1, "4"));
    EXPECT_EQ(complete("ins /robot <a/> --f"), "16: --first|--first| ");
    EXPECT_EQ(complete("merg ren /robot/j"), "9: /robot/joint|/robot/joint|");
    EXPECT_EQ(complete("merg ren"), "5: rename|rename| ");
    EXPECT_EQ(complete("re /robot/j"), "3:||"); // which may be one of several
}

TEST_F(CompletionTest, EndsAtAWholeCharacter)
{
    editor.run("insert /robot '<e \xC3\xA4=\"1\" \xC3\xB6=\"2\"/>'");
    EXPECT_EQ(complete("find /robot/e/"), "5:||");
    EXPECT_EQ(complete("find /robot/e/@"), "5: /robot/e/@\xC3\xA4 /robot/e/@\xC3\xB6|/robot/e/@|");
}

TEST_F(CompletionTest, OfAddressesStepByStep)
{
    EXPECT_EQ(complete("find /"), "5: /robot|/robot|");
    EXPECT_EQ(complete("find "), "5: robot|robot|");
    EXPECT_EQ(complete("find /robot/"), "5: /robot/joint /robot/link[ /robot/x:y|/robot/|");
    EXPECT_EQ(complete("find /robot/l"), "5: /robot/link[|/robot/link[|");
    EXPECT_EQ(complete("find /robot/link["), "5: /robot/link[1] /robot/link[2] /robot/link[3]|/robot/link[|");
    EXPECT_EQ(complete("find /robot/link[3"), "5: /robot/link[3]|/robot/link[3]|");
    EXPECT_EQ(complete("find /robot/link[3]/mass/@"),
              "5: /robot/link[3]/mass/@unit /robot/link[3]/mass/@value|/robot/link[3]/mass/@|");
    EXPECT_EQ(complete("set /robot/link[3]/mass/@v"),
              "4: /robot/link[3]/mass/@value|/robot/link[3]/mass/@value|");
}

TEST_F(CompletionTest, OfAddressesByName)
{
    EXPECT_EQ(complete("find /robot/link[@"),
              "5: /robot/link[@name='base'] /robot/link[@name='tip 1']|/robot/link[@name='|")
        << "a name with a quote would need other quotes";
    EXPECT_EQ(complete("find /robot/link[@name='tip 1']/"),
              "5: /robot/link[@name='tip 1']/mass|/robot/link[@name='tip 1']/mass|");
    EXPECT_EQ(complete("find /robot/link[@name='tip 1"),
              "5: /robot/link[@name='tip 1']|/robot/link[@name='tip 1']|");
}

TEST_F(CompletionTest, OfAddressesInTheWholeDocument)
{
    EXPECT_EQ(complete("find //"), "5: //joint //link //mass //robot //x:y|//|");
    EXPECT_EQ(complete("find //m"), "5: //mass|//mass|");
    EXPECT_EQ(complete("find //link/@"), "5: //link/@name //link/@x|//link/@|") << "of all that it selects";
}

TEST_F(CompletionTest, OfAddressesFromTheCurrentElement)
{
    editor.run("cd /robot/link[3]");
    EXPECT_EQ(complete("find m"), "5: mass|mass|");
    EXPECT_EQ(complete("find mass/@u"), "5: mass/@unit|mass/@unit|");
    EXPECT_EQ(complete("find @"), "5: @name|@name|");
}

TEST_F(CompletionTest, OfWhatIsWrongThereIsNone)
{
    EXPECT_EQ(complete("find /robot[/"), "5:||");
    EXPECT_EQ(complete("find //link[bad xpath()]/"), "5:||");
    EXPECT_EQ(complete("find \"open "), "5:||");
    EXPECT_EQ(complete("nothing /"), "8:||");
    EXPECT_EQ(complete("quit /"), "5:||") << "it takes no address";
    EXPECT_EQ(complete("merge nothing /"), "14:||");
}

TEST_F(CompletionTest, OfOptions)
{
    EXPECT_EQ(complete("set //x 1 --"), "10: --strict|--strict| ");
    EXPECT_EQ(complete("insert //x <a/> --"), "16: --after --before --first|--|");
    EXPECT_EQ(complete("insert //x <a/> -"), "16: --after --before --first|--|");
    EXPECT_EQ(complete("replace //x a b -"), "16: -i|-i| ");
}

TEST_F(CompletionTest, OfFiles)
{
    const TestDirectory directory;
    directory.write("one.xml", "");
    directory.write("one two.xml", "");
    directory.write(".hidden", "");
    std::filesystem::create_directory(directory.getPath() / "sub");
    const std::string folder = directory.getPath().string() + "/";
    EXPECT_EQ(complete("import " + folder),
              "7: '" + folder + "one two.xml' " + folder + "one.xml " + folder + "sub/||")
        << "what must be quoted begins otherwise";
    EXPECT_EQ(complete("import " + folder + "s"), "7: " + folder + "sub/|" + folder + "sub/|");
    EXPECT_EQ(complete("import " + folder + "one."), "7: " + folder + "one.xml|" + folder + "one.xml| ");
    EXPECT_EQ(complete("import " + folder + ".h"), "7: " + folder + ".hidden|" + folder + ".hidden| ");
    EXPECT_EQ(complete("import " + folder + "none/"), "7:||");
}

TEST(PasteTest, ControlCharactersAreText)
{
    EXPECT_EQ(ModelEditor::keysOf(L"a\r\nb\nc\rd\r\r\n"), L"a\nb\nc\nd\n\n");
    EXPECT_EQ(ModelEditor::keysOf(L"\t\x03\x1b[A\x7f"), L"\x16\t\x16\x03\x16\x1b[A\x16\x7f");
    EXPECT_EQ(ModelEditor::keysOf(L""), L"");
}

TEST(CompletionScaleTest, FiftyOfManyAreListed)
{
    std::string bytes = "<r>";
    for (int i = 0; i < 1000; ++i)
    {
        bytes += "<e/>";
    }
    ModelEditor::XmlModel model(bytes + "</r>", "m.xml");
    std::ostringstream out;
    const ModelEditor::Editor editor(
        model, [](const ModelEditor::Output&) {}, out);
    const auto completion = editor.complete("find /r/e[");
    EXPECT_EQ(completion.count, 1000U);
    EXPECT_EQ(completion.words.size(), ModelEditor::mostCompletions);
    EXPECT_EQ(completion.words.front(), "/r/e[1]");
    EXPECT_EQ(completion.common, "/r/e[");
    const auto list = listOf(completion);
    EXPECT_TRUE(list.starts_with("/r/e[1]\n/r/e[2]\n")) << list;
    EXPECT_TRUE(list.ends_with("/r/e[50]\n... and 950 more\n")) << list;
}
