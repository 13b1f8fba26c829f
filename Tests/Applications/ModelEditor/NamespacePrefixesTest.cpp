#include "Applications/ModelEditor/Document/NamespacePrefixes.h"

#include "Tests/Applications/ModelEditor/Editor/EditorFixture.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using ModelEditor::isPrefix;
using ModelEditor::NamespacePrefixes;
using ModelEditor::withNamespaces;

std::string withM(const std::string& xpath)
{
    return withNamespaces(xpath, {{"m", "U"}});
}

TEST(NamespacePrefixes, ANameBecomesAPredicate)
{
    EXPECT_EQ(withM("//m:a"), "//*[local-name()='a' and namespace-uri()='U']");
    EXPECT_EQ(withM("m:a[1]/@m:b"), "*[local-name()='a' and namespace-uri()='U'][1]/"
                                    "@*[local-name()='b' and namespace-uri()='U']");
    EXPECT_EQ(withM("child::m:a.b-c/attribute::m:*"),
              "child::*[local-name()='a.b-c' and namespace-uri()='U']/attribute::*[namespace-uri()='U']");
    EXPECT_EQ(withM("//*[m:a='m:a' or \"m:a\" = m:*]"),
              "//*[*[local-name()='a' and namespace-uri()='U']='m:a' or \"m:a\" = *[namespace-uri()='U']]");
    EXPECT_EQ(withNamespaces("m:a", {{"m", "it's"}}), "*[local-name()='a' and namespace-uri()=\"it's\"]");
}

TEST(NamespacePrefixes, AllElseStaysAsItIs)
{
    for (const std::string xpath :
         {"//n:a", "//a", "m::a", "$m:a", "'m:a", "\"//m:a\"", "//a[.='m:a']", "x.m:a", "x-m:a", "m :a",
          "3m:a", "self::m", "m:", "m", "", "count(//a) div 2"})
    {
        EXPECT_EQ(withM(xpath), xpath);
        EXPECT_EQ(withNamespaces(xpath, {}), xpath);
    }
}

TEST(NamespacePrefixes, APrefixIsANameWithoutAColon)
{
    EXPECT_TRUE(isPrefix("m"));
    EXPECT_TRUE(isPrefix("_m-1.2"));
    EXPECT_TRUE(isPrefix("\xC3\xA4"));
    EXPECT_FALSE(isPrefix(""));
    EXPECT_FALSE(isPrefix("1"));
    EXPECT_FALSE(isPrefix("a:b"));
    EXPECT_FALSE(isPrefix("a b"));
}

class EditorWithNamespaces : public EditorFixture
{
protected:
    EditorWithNamespaces(const std::string& file, const NamespacePrefixes& prefixes) : EditorFixture(file)
    {
        model.setPrefixes(prefixes);
    }
};

const std::string pom = "<project xmlns='http://maven.apache.org/POM/4.0.0'>\n"
                        "  <version>1.0</version>\n"
                        "  <dependencies>\n"
                        "    <dependency><artifactId>a</artifactId><version>1.1</version></dependency>\n"
                        "    <dependency><artifactId>b</artifactId><version>1.2</version></dependency>\n"
                        "  </dependencies>\n"
                        "  <other xmlns='urn:other'><version>9</version></other>\n"
                        "</project>\n";

class EditorOfAPom : public EditorWithNamespaces
{
protected:
    EditorOfAPom() : EditorWithNamespaces(pom, {{"m", "http://maven.apache.org/POM/4.0.0"}}) {}
};

TEST_F(EditorOfAPom, ReachesTheDefaultNamespace)
{
    EXPECT_EQ(run("find //m:dependency/m:version"),
              "/project/dependencies/dependency[1]/version = 1.1\n/project/"
              "dependencies/dependency[2]/version = 1.2\n2 nodes\n");
    EXPECT_EQ(run("find //m:dependency[m:artifactId='b']/m:version/text()"),
              "/project/dependencies/dependency[2]/version/text() = 1.2\n1 node\n");
    EXPECT_EQ(run("find //m:dependency[2]"), "/project/dependencies/dependency[2]\n1 node\n");
    EXPECT_EQ(run("find //m:version").find("other"), std::string::npos);
    EXPECT_EQ(run("find count(//m:version)"), "3\n");
    EXPECT_EQ(run("find //version").substr(run("find //version").size() - 8), "4 nodes\n");
    run("cd m:project/m:dependencies");
    EXPECT_EQ(run("find m:dependency[1]/m:artifactId"),
              "/project/dependencies/dependency[1]/artifactId = a\n1 node\n");
}

TEST_F(EditorOfAPom, TellsAMistakeWhereItWasWritten)
{
    EXPECT_EQ(run("find //m:a/m:b["), "find: bad XPath at character 10: [ is not closed: //m:a/m:b[");
}

const std::string picture =
    "<s:svg xmlns:s='http://www.w3.org/2000/svg' xmlns:l='http://www.w3.org/1999/xlink' href='#0'>"
    "<s:use l:href='#1'/><s:g><s:use/></s:g><use l:href='#2'/></s:svg>";

class EditorOfAPicture : public EditorWithNamespaces
{
protected:
    EditorOfAPicture()
        : EditorWithNamespaces(picture, {{"svg", "http://www.w3.org/2000/svg"},
                                         {"xlink", "http://www.w3.org/1999/xlink"},
                                         {"none", "urn:none"}})
    {
    }
};

TEST_F(EditorOfAPicture, ReachesOtherPrefixes)
{
    EXPECT_EQ(run("find //svg:use/@xlink:href"), "/s:svg/s:use/@l:href = #1\n1 node\n");
    EXPECT_EQ(run("find //@xlink:*"), "/s:svg/s:use/@l:href = #1\n/s:svg/use/@l:href = #2\n2 nodes\n");
    EXPECT_EQ(run("find /svg:svg/svg:*[last()]"), "/s:svg/s:g\n1 node\n");
    EXPECT_EQ(run("find //s:use/@l:href"), "/s:svg/s:use/@l:href = #1\n1 node\n") << "as written";
}

TEST_F(EditorOfAPicture, ANewAttributeGetsThePrefixOfTheDocument)
{
    EXPECT_EQ(run("set //svg:g/svg:use/@xlink:href '#3'"),
              "Annotate s:use with l:href = #3\n  /s:svg/s:g/s:use/@l:href: added #3\n");
    EXPECT_EQ(run("set //svg:g/@none:x 1"),
              "set: the document declares no prefix for urn:none at /s:svg/s:g");
}

class EditorOfAPage : public EditorWithNamespaces
{
protected:
    EditorOfAPage()
        : EditorWithNamespaces(
              "<html xmlns='http://www.w3.org/1999/xhtml'><body><p class='x'>a</p>"
              "<m:math xmlns:m='http://www.w3.org/1998/Math/MathML'><m:mi>x</m:mi></m:math>"
              "<math xmlns='http://www.w3.org/1998/Math/MathML'><mi>y</mi></math></body></html>",
              {{"h", "http://www.w3.org/1999/xhtml"}, {"m", "http://www.w3.org/1998/Math/MathML"}})
    {
    }
};

TEST_F(EditorOfAPage, ReachesOneNamespaceUnderSeveralNames)
{
    EXPECT_EQ(run("find //m:mi"), "/html/body/m:math/m:mi = x\n/html/body/math/mi = y\n2 nodes\n");
    EXPECT_EQ(run("find //h:p/@class"), "/html/body/p/@class = x\n1 node\n");
    EXPECT_EQ(run("find //h:p/@h:class"), "0 nodes\n") << "an attribute without prefix is in no namespace";
    EXPECT_EQ(run("set //m:mi/text() z"), "Set //m:mi/text() (2 nodes) to z\n"
                                          "  /html/body/m:math/m:mi/text(): x -> z\n"
                                          "  /html/body/math/mi/text(): y -> z\n");
}

} // namespace
