#include "Applications/ModelEditor/Document/ObjectsByNode.h"

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

TEST(ObjectsByNode, FindsLastingObjectsWhateverTheirOrder)
{
    const Family family;
    for (const auto& order : std::vector<std::vector<std::size_t>>{{0, 1, 2, 3}, {3, 2, 1, 0}, {2, 0, 3, 1}})
    {
        std::vector<XmlObject*> lasting;
        for (const std::size_t index : order)
        {
            lasting.push_back(family.at(index));
        }
        const ObjectsByNode objects(lasting);
        EXPECT_EQ(objects.size(), 4U);
        for (const auto& object : family.objects)
        {
            EXPECT_EQ(objects.find(object->getElement()), object.get());
        }
    }
}

TEST(ObjectsByNode, WhatIsAddedIsFoundUntilItIsRemoved)
{
    const Family family;
    ObjectsByNode objects({family.at(0), family.at(1)});
    const auto added = family.at(2)->getElement();
    objects.add(*family.at(2));
    EXPECT_EQ(objects.find(added), family.at(2));
    EXPECT_EQ(objects.size(), 3U);
    objects.remove(added);
    EXPECT_EQ(objects.find(added), nullptr);
    EXPECT_EQ(objects.find(family.at(1)->getElement()), family.at(1));
    EXPECT_EQ(objects.size(), 2U);
}

TEST(ObjectsByNode, WhatIsNotInItIsNeitherFoundNorRemoved)
{
    const Family family;
    ObjectsByNode objects({family.at(1)});
    for (const auto& node : {family.at(0)->getElement(), family.at(3)->getElement(), pugi::xml_node()})
    {
        EXPECT_EQ(objects.find(node), nullptr);
        objects.remove(node);
    }
    EXPECT_EQ(ObjectsByNode().find(family.at(0)->getElement()), nullptr);
    EXPECT_EQ(objects.size(), 1U);
}

} // namespace
