#include "Applications/ModelEditor/Document/SiblingKeys.h"

#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace
{

using ModelEditor::SiblingKeys;
using ValdaneTests::ElementsAre;

std::vector<std::string> keysIn(const std::string& markup)
{
    pugi::xml_document document;
    EXPECT_TRUE(document.load_string(markup.c_str(), pugi::parse_full | pugi::parse_ws_pcdata));
    SiblingKeys made(document.document_element());
    SiblingKeys keys(std::move(made));
    std::vector<std::string> all;
    for (const auto node : document.document_element().children())
    {
        if (node.type() == pugi::node_element)
        {
            all.push_back(keys.next(node.name()));
        }
    }
    return all;
}

TEST(SiblingKeys, ATagThatIsThereOnceIsTheKey)
{
    EXPECT_THAT(keysIn("<a><b><d/></b><!-- b --> <c/><?d?></a>"), ElementsAre("b", "c"));
    EXPECT_THAT(keysIn("<a>text</a>"), ElementsAre());
}

TEST(SiblingKeys, SeveralOfATagAreNumberedInTheirOrderWhateverStandsBetween)
{
    EXPECT_THAT(keysIn("<a><b/><b/><c/>text<b/><d/><c/><bb/></a>"),
                ElementsAre("b[1]", "b[2]", "c[1]", "b[3]", "d", "c[2]", "bb"));
}

} // namespace
