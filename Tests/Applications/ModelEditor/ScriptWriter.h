#pragma once

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

/// Writes scripts of edits that all succeed, whatever the edits before them were: each is tried before it is written.
class ScriptWriter
{
public:
    ScriptWriter(const std::string& bytes, unsigned int seed)
        : random(seed),
          model(bytes, "model"),
          editor(
              model, [](const ModelEditor::Output& /*unused*/) {}, out)
    {
    }

    std::string writeEdits(int count)
    {
        std::string script;
        for (; count > 0; --count)
        {
            script += writeEdit();
        }
        editor.run("redo 99");
        return script + "redo 99\n";
    }

    /// One line, which was carried out.
    std::string writeEdit()
    {
        while (true)
        {
            const auto line = writeLine();
            if (runs(line))
            {
                return line + "\n";
            }
        }
    }

    ModelEditor::Editor& getEditor()
    {
        return editor;
    }

    const ModelEditor::XmlModel& getResult() const
    {
        return model;
    }

    ModelEditor::XmlModel& getModel()
    {
        return model;
    }

private:
    // A line that fails must leave no trace.
    bool runs(const std::string& line)
    {
        const auto before = model.toBytes();
        try
        {
            editor.run(line);
            return true;
        }
        catch (const Valdane::VdException& exception)
        {
            EXPECT_EQ(model.toBytes(), before) << line << ": " << exception.what();
            return false;
        }
    }

    std::string writeLine()
    {
        const unsigned int kind = pick(24);
        const std::string element = pickOf("//*").getAddress();
        if (kind == 0)
        {
            return "undo " + std::to_string(pick(5));
        }
        if (kind == 1)
        {
            return "redo " + std::to_string(pick(5));
        }
        if (kind <= 4)
        {
            return "annotate " + element + " note:n" + std::to_string(pick(4)) + " " + pickText();
        }
        if (kind == 5)
        {
            return "clear-annotations " + element;
        }
        if (kind == 6)
        {
            return "set " + element + "/@added" + std::to_string(pick(4)) + " " + pickText();
        }
        return kind <= 12 ? writeStructure(element) : writeSet(pickOf("//@*|//text()"));
    }

    std::string writeStructure(const std::string& element)
    {
        const std::string where = pickFrom({"", " --first", " --before", " --after"});
        switch (pick(7))
        {
        case 0:
        case 1:
            return "insert " + element + " " + pickMarkup() + where;
        case 2:
            return "insert " + addressOf(pickOf("//text()")) + " " + pickMarkup() + " --after";
        case 3:
            return "delete " + addressOf(pickOf("//node()[not(*)]"));
        case 4:
            return "copy " + addressOf(pickOf("//node()[not(*/*)]")) + " " + element + where;
        case 5:
            return "move " + addressOf(pickOf("//node()")) + " " + element + where;
        default:
            return "wrap " + addressOf(pickOf("//node()")) + " w" + std::to_string(pick(3));
        }
    }

    // Comments and instructions have no address of their own.
    std::string addressOf(const ModelEditor::Selected& selected)
    {
        return selected.part == ModelEditor::Part::Unsupported
                   ? selected.getAddress() + pickFrom({"/comment()", "/processing-instruction()"})
                   : selected.getAddress();
    }

    std::string writeSet(const ModelEditor::Selected& value)
    {
        if (value.part == ModelEditor::Part::Annotation)
        {
            return "annotate " + value.object->getAddress() + " " + value.name + " " + pickText();
        }
        const std::string verb = value.part == ModelEditor::Part::Name
                                     ? "rename " + value.object->getAddress()
                                     : "set " + value.getAddress();
        const bool isSame = value.part == ModelEditor::Part::Value && pick(5) == 0 &&
                            value.text.find('\n') == std::string::npos;
        return verb + " " + (isSame ? ModelEditor::joinWords({value.text}) : pickText());
    }

    std::string pickText()
    {
        return pickFrom({"''", "plain", "007", "-1.50", "true", "'a < b & c > d'", "'\"q\"'", "\"it's\"",
                         "'  blanks  '", "'4.0'", "']]> &amp; x'", "'fl\xC3\xA4\xC3\x9Fig'", "'tab\there'"});
    }

    std::string pickMarkup()
    {
        return pickFrom({"<new/>", "'<a b=\"1\">t</a> <!-- c -->'", "text", "']]'", "'>'", "' '",
                         "'<![CDATA[<x>]]>'", "'a<b/>c'", "'<?do it?>'", "'<p:q xmlns:p=\"u\" p:r=\"s\"/>'",
                         "'<e></e><e/>'", "'&#8364;&lt;'", "'<!-- no -- no -->'", "'</w>'"});
    }

    std::string pickFrom(const std::vector<std::string>& all)
    {
        return all[pick(static_cast<unsigned int>(all.size()))];
    }

    // The root element if there is nothing of what is wanted.
    ModelEditor::Selected pickOf(const std::string& xpath)
    {
        const auto all = model.select(xpath).nodes;
        return all.empty() ? model.select("/*").nodes.at(0)
                           : all[pick(static_cast<unsigned int>(all.size()))];
    }

    unsigned int pick(unsigned int count)
    {
        return static_cast<unsigned int>(random()) % count;
    }

    std::mt19937 random;
    std::ostringstream out;
    ModelEditor::XmlModel model;
    ModelEditor::Editor editor;
};
