// References to entities and characters: how they are shown, kept and entered.

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Tests/Applications/ModelEditor/Editor/EditorFixture.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace
{

using ModelEditor::Editor;
using ModelEditor::Output;
using ModelEditor::XmlModel;

const std::string withReferences = "<r a='10&nbsp;kg' b='x &amp;nbsp; y' c='7' d='&#55;' "
                                   "t='x&#9;y'>1&#160;m\r\n\r&own;<![CDATA[&nbsp;]]></r>";

class EditorReferences : public EditorFixture
{
protected:
    EditorReferences() : EditorFixture(withReferences) {}

    /// Between the quotes of an attribute of the root, as it is saved.
    std::string saved(const std::string& attribute) const
    {
        const auto bytes = model.toBytes();
        const auto start = bytes.find(' ' + attribute + "='") + attribute.size() + 3;
        return bytes.substr(start, bytes.find('\'', start) - start);
    }
};

TEST_F(EditorReferences, AreShownAsTheyStand)
{
    EXPECT_EQ(run("show /r"), "/r\n"
                              "  @a = 10&nbsp;kg (markup)\n"
                              "  @b = x &nbsp; y (text)\n"
                              "  @c = 7 (int)\n"
                              "  @d = 7 (int)\n"
                              "  @t = \"x\\x09y\" (text)\n"
                              "  text()[1] = \"1&#160;m\\n\\n&own;\" (markup)\n"
                              "  text()[2] = &nbsp; (text)\n");
    EXPECT_EQ(run("find /r/@*[.!='7']"), "/r/@a = 10&nbsp;kg (markup)\n"
                                         "/r/@b = x &nbsp; y\n"
                                         "/r/@t = \"x\\x09y\"\n"
                                         "3 nodes\n");
}

TEST_F(EditorReferences, StayWhenAnotherPartIsEdited)
{
    EXPECT_EQ(run("set /r/@a 20&nbsp;kg"), "Set a of r to 20&nbsp;kg\n  /r/@a: 10&nbsp;kg -> 20&nbsp;kg\n");
    EXPECT_EQ(saved("a"), "20&nbsp;kg");
    EXPECT_EQ(run("set /r/text()[1] '2&#160;m & &amp;own;'"),
              "Set text of r to 2&#160;m & &amp;own;\n"
              "  /r/text()[1]: \"1&#160;m\\n\\n&own;\" -> 2&#160;m &amp; &amp;own;\n");
    EXPECT_NE(model.toBytes().find(">2&#160;m &amp; &amp;own;<!"), std::string::npos);
    EXPECT_EQ(model.select("string(/r/text()[1])").value, "2\xC2\xA0m & &own;");
    run("undo 2");
    EXPECT_EQ(model.toBytes(), withReferences);
    run("redo 2");
    EXPECT_EQ(saved("a"), "20&nbsp;kg");
    EXPECT_NE(model.toBytes().find(">2&#160;m &amp; &amp;own;<!"), std::string::npos);
}

TEST_F(EditorReferences, TheSameMarkupIsNoChange)
{
    EXPECT_EQ(run("set /r/@a 10&nbsp;kg"), "Set a of r to 10&nbsp;kg\n  (no change)\n");
    EXPECT_EQ(run("set /r/text()[1] \"1&#160;m\n\n&own;\""),
              "Set text of r to \"1&#160;m\\n\\n&own;\"\n  (no change)\n");
    EXPECT_EQ(model.toBytes(), withReferences);
}

TEST_F(EditorReferences, PlainTextHasNone)
{
    run("set /r/@b 'a & b &nbsp; &amp;'");
    EXPECT_EQ(saved("b"), "a &amp; b &amp;nbsp; &amp;amp;");
    EXPECT_EQ(model.select("string(/r/@b)").value, "a & b &nbsp; &amp;");
    EXPECT_EQ(run("find /r/@b"), "/r/@b = a & b &nbsp; &amp;\n1 node\n");
}

TEST_F(EditorReferences, AreEnteredWithMarkupAndStayThen)
{
    EXPECT_EQ(run("markup /r/@b 'a & b&nbsp;&#8364;'"),
              "Set b of r to a & b&nbsp;&#8364;\n  /r/@b: x &nbsp; y -> a &amp; b&nbsp;&#8364;\n");
    EXPECT_EQ(saved("b"), "a &amp; b&nbsp;&#8364;");
    EXPECT_EQ(model.select("string(/r/@b)").value, "a & b&nbsp;\xE2\x82\xAC");
    EXPECT_EQ(run("find /r/@b"), "/r/@b = a &amp; b&nbsp;&#8364; (markup)\n1 node\n");
    run("set /r/@b c&nbsp;");
    EXPECT_EQ(saved("b"), "c&nbsp;");
    run("undo");
    EXPECT_EQ(saved("b"), "a &amp; b&nbsp;&#8364;");
    run("undo");
    EXPECT_EQ(model.toBytes(), withReferences);
    EXPECT_EQ(run("find /r/@b"), "/r/@b = x &nbsp; y\n1 node\n");
    run("redo 2");
    EXPECT_EQ(saved("b"), "c&nbsp;");
}

TEST_F(EditorReferences, ATextThatHadSomeStaysMarkup)
{
    run("set /r/@a plain");
    EXPECT_EQ(run("find /r/@a"), "/r/@a = plain (markup)\n1 node\n");
    run("set /r/@a 1&nbsp;2");
    EXPECT_EQ(saved("a"), "1&nbsp;2");
}

TEST_F(EditorReferences, WhatCannotHaveOneIsRefused)
{
    EXPECT_EQ(run("markup /r/text()[2] x"),
              "markup: /r/text()[2] is a CDATA section, which has no references");
    EXPECT_EQ(run("annotate /r n:b x"),
              "Annotate r with n:b = x\n  /r/@n:b: added x\n  note: there is no xmlns:n around "
              "it; programs that know namespaces want one\n");
    EXPECT_EQ(run("markup /r/@n:b &x;"), "markup: /r/@n:b is an annotation");
    run("undo");
    EXPECT_EQ(run("set /r/@a &#1;"), "set: XML cannot hold the character &#1;");
    EXPECT_EQ(run("set /r/@a 'x&nbsp;&own;\x01'"),
              "set: XML cannot hold the character U+0001, character 13 of the value");
    run("set /r/text()[2] &x;");
    EXPECT_NE(model.toBytes().find("<![CDATA[&x;]]>"), std::string::npos);
    run("undo");
    EXPECT_EQ(model.toBytes(), withReferences);
}

TEST_F(EditorReferences, OneThatNothingDeclaresIsNotAdded)
{
    EXPECT_EQ(run("markup /r/@b &eacute;"), "markup: &eacute; is not declared");
    EXPECT_EQ(run("set /r/@a 20&nbsp;&eacute;"), "set: &eacute; is not declared");
    EXPECT_EQ(run("replace /r/@a kg &eacute;"), "replace: &eacute; is not declared");
    EXPECT_EQ(model.toBytes(), withReferences);
    run("markup /r/@b '&own; &lt;&#65;&amp;eacute; & &eacute'");
    EXPECT_EQ(saved("b"), "&own; &lt;&#65;&amp;eacute; &amp; &amp;eacute") << "the file has one already";
}

class EditorDeclaredReferences : public EditorFixture
{
protected:
    EditorDeclaredReferences() : EditorFixture("<!DOCTYPE r [<!ENTITY e 'f'>]>\n<r a='1'>t</r>") {}
};

TEST_F(EditorDeclaredReferences, CanBeAddedButNoOthers)
{
    EXPECT_EQ(run("markup /r/text() &e;&amp;&f;"), "markup: &f; is not declared");
    EXPECT_EQ(run("markup /r/text() &e;&amp;"), "Set text of r to &e;&amp;\n  /r/text(): t -> &e;&amp;\n");
    EXPECT_EQ(run("markup /r/@a &e;"), "Set a of r to &e;\n  /r/@a: 1 -> &e; (was int, is text now)\n");
    EXPECT_EQ(model.toBytes(), "<!DOCTYPE r [<!ENTITY e 'f'>]>\n<r a='&e;'>&e;&amp;</r>");
}

class EditorForeignReferences : public EditorFixture
{
protected:
    EditorForeignReferences() : EditorFixture("<!DOCTYPE r SYSTEM 'r.dtd'><r>t</r>") {}
};

TEST_F(EditorForeignReferences, CanBeAddedIfAnotherFileMayDeclareThem)
{
    run("markup /r/text() &e;");
    EXPECT_EQ(model.toBytes(), "<!DOCTYPE r SYSTEM 'r.dtd'><r>&e;</r>");
}

TEST_F(EditorReferences, TheSavedFileShowsTheSame)
{
    run("markup /r/@b 'x&own;&#65; & <'");
    run("set /r/@a '&#x41;\"&nbsp;'");
    run("set /r/text()[1] '&own; ]]> &'");
    const auto before = run("show /r");
    XmlModel again(model.toBytes(), "m");
    std::ostringstream shown;
    Editor(
        again, [](const Output&) {}, shown)
        .run("show /r");
    EXPECT_EQ(shown.str(), before);
}

} // namespace
