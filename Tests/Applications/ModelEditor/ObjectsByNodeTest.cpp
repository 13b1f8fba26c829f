#include "Applications/ModelEditor/Document/ObjectsByNode.h"

#include "Applications/ModelEditor/Document/Cutting.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Applications/ModelEditor/Document/XmlObject.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace
{

using ModelEditor::ObjectsByNode;
using ModelEditor::XmlObject;

/// The root of a document and its children, in document order.
struct Family
{
    Family()
    {
        make(document.getRootElement());
        for (const auto child : document.getRootElement().children())
        {
            make(child);
        }
    }

    void make(pugi::xml_node node)
    {
        objects.push_back(std::make_unique<XmlObject>(node.name(), context, node));
    }

    XmlObject* at(std::size_t index) const
    {
        return objects.at(index).get();
    }

    ModelEditor::XmlDocument document{"<a><b/><c/><d/></a>", "m"};
    ModelEditor::XmlContext context{document, {}};
    std::vector<std::unique_ptr<XmlObject>> objects;
};

TEST(ObjectsByNode, WhatIsAddedIsFoundUntilItIsRemoved)
{
    const Family family;
    ObjectsByNode objects;
    objects.add(*family.at(1));
    objects.add(*family.at(2));
    const auto added = family.at(2)->getElement();
    EXPECT_EQ(objects.find(added), family.at(2));
    EXPECT_EQ(objects.size(), 2U);
    objects.remove(added);
    EXPECT_EQ(objects.find(added), nullptr);
    EXPECT_EQ(objects.find(family.at(1)->getElement()), family.at(1));
    EXPECT_EQ(objects.size(), 1U);
}

TEST(ObjectsByNode, WhatIsNotInItIsNeitherFoundNorRemoved)
{
    const Family family;
    ObjectsByNode objects;
    objects.add(*family.at(1));
    for (const auto& node : {family.at(0)->getElement(), family.at(3)->getElement(), pugi::xml_node()})
    {
        EXPECT_EQ(objects.find(node), nullptr);
        objects.remove(node);
    }
    EXPECT_EQ(objects.size(), 1U);
}

TEST(ObjectsByNode, WhatIsDestroyedIsFoundNoMore)
{
    Family family;
    ObjectsByNode objects;
    const auto element = family.at(3)->getElement();
    objects.add(*family.at(3));
    family.objects.pop_back();
    EXPECT_EQ(objects.find(element), nullptr);
    EXPECT_EQ(objects.size(), 0U);
}

TEST(ObjectsByNode, ObjectsMayOutliveIt)
{
    const Family family;
    {
        ObjectsByNode objects;
        objects.add(*family.at(1));
    }
    ObjectsByNode others;
    others.add(*family.at(1));
    EXPECT_EQ(others.find(family.at(1)->getElement()), family.at(1));
}

TEST(ObjectsByNode, WhatMovesIsFoundByTheCopyOfItsElement)
{
    const Family family;
    pugi::xml_document copied;
    ModelEditor::Copies copies;
    const auto element = family.at(1)->getElement();
    ModelEditor::copyTree(element, copied.append_child(element.type()), copies);
    ObjectsByNode objects;
    ObjectsByNode others;
    objects.add(*family.at(1));
    others.makeRoomFor(1);
    objects.move(element, copies.there, others);
    EXPECT_EQ(objects.find(element), nullptr);
    EXPECT_EQ(others.find(copied.first_child()), family.at(1));
    EXPECT_EQ(family.at(1)->getElement(), copied.first_child());
    objects.move(element, copies.there, others);
    EXPECT_EQ(others.size(), 1U);
}

} // namespace
