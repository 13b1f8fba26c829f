#include "Applications/ModelEditor/Document/AddressWalk.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <string>

namespace
{

using ModelEditor::AddressWalk;

class AddressWalkTest : public testing::Test
{
protected:
    AddressWalkTest()
    {
        std::string file = "<?pi x?><r xmlns:n='u'><only a='1' n:b='2' xmlns:m='v'/>";
        for (int i = 1; i <= 100; ++i)
        {
            file += "<v a='" + std::to_string(i) + "'><w/><w/></v><p:odd/>";
        }
        document.load_string((file + "<last><.x/></last></r>").c_str(), pugi::parse_full);
    }

    // The same as XPath, if anything.
    std::string find(const std::string& address)
    {
        const auto found = walk.find(document, address);
        if (!found)
        {
            return "";
        }
        const auto all = document.select_nodes(address.c_str());
        EXPECT_EQ(all.size(), 1U) << address;
        EXPECT_EQ(found, all.first()) << address;
        return found.attribute() ? found.attribute().value() : found.node().name();
    }

    pugi::xml_document document;
    AddressWalk walk;
};

TEST_F(AddressWalkTest, AddressesOfTheEditorsOwnFormAreFollowed)
{
    EXPECT_EQ(find("/r"), "r");
    EXPECT_EQ(find("/r/only"), "only");
    EXPECT_EQ(find("/r/only[1]/@a"), "1");
    EXPECT_EQ(find("/r/only/@n:b"), "2");
    EXPECT_EQ(find("/r/v[1]/@a"), "1");
    EXPECT_EQ(find("/r/v[100]/@a"), "100");
    EXPECT_EQ(find("/r/v[7]/w[2]"), "w");
    EXPECT_EQ(find("/r/p:odd[100]"), "p:odd");
    EXPECT_EQ(find("/r/last"), "last") << "behind many";
}

TEST_F(AddressWalkTest, AllElseIsLeftToXPath)
{
    for (const std::string address : {"",
                                      "/",
                                      "//r",
                                      "r",
                                      "/r/",
                                      "/r/v",
                                      "/r/v/@a",
                                      "/r/v[0]",
                                      "/r/v[101]",
                                      "/r/v[101]/@a",
                                      "/r/v[-1]",
                                      "/r/v[1",
                                      "/r/v[]",
                                      "/r/v[x]",
                                      "/r/v[1]x",
                                      "/r/v[1]/w",
                                      "/r/v[1]/w[3]",
                                      "/r/v[99999999999999999999]",
                                      "/r/nothing",
                                      "/r/*",
                                      "/r/.",
                                      "/r/..",
                                      "/r/only/.",
                                      "/r/last/.x",
                                      "/r/self::r",
                                      "/r/@nothing",
                                      "/r/only/@",
                                      "/r/only/@*",
                                      "/r/only/@xmlns:m",
                                      "/r/only/@a/",
                                      "/r/only/@a/x",
                                      "/r/only/@a[1]",
                                      "/r/text()",
                                      "/r/only|/r/last",
                                      "/r/only = 1",
                                      "/@a",
                                      "/r[1]/v[2][1]",
                                      "/r/ only",
                                      "/r/only ",
                                      "(/r)",
                                      "/r/only/@@a"})
    {
        EXPECT_FALSE(walk.find(document, address)) << address;
    }
    EXPECT_FALSE(walk.find(document, std::string("/r\0", 3)));
}

TEST_F(AddressWalkTest, WhatComesAndGoesIsSeenAfterForget)
{
    auto root = document.child("r");
    EXPECT_EQ(find("/r/v[100]/@a"), "100");
    walk.forget();
    root.remove_child("v");
    EXPECT_EQ(find("/r/v[99]/@a"), "100");
    EXPECT_FALSE(walk.find(document, "/r/v[100]/@a"));
    walk.forget();
    root.append_child("v").append_attribute("a") = "new";
    EXPECT_EQ(find("/r/v[100]/@a"), "new");
}

} // namespace
