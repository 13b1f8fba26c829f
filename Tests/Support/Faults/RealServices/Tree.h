#pragma once

#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Tests/Support/Faults/NamedThing.h"

#include <memory>
#include <string>

namespace Valdane::Faults
{

/// A root with a thing, whose changes are listened to.
struct Tree
{
    Tree()
    {
        root->addChild(thing);
        root->connectToSigChanged(listen).releaseWithoutDisconnect();
        thing->setDynamicAttributeCollection(std::make_shared<DynamicAttributeCollection>());
        attribute->getSigChanged().connect([](const std::string&) { listen(); }).releaseWithoutDisconnect();
        thing->addAttributeDescription(attribute);
    }

    Path attributePath() const
    {
        return thing->getPath(root.get(), "text", RequestedPathType::FromRoot);
    }

    std::shared_ptr<Object> root = std::make_shared<Object>("root");
    std::shared_ptr<NamedThing> thing = std::make_shared<NamedThing>();
    std::shared_ptr<AttributeDescription<std::string>> attribute =
        std::make_shared<AttributeDescription<std::string>>(
            "text", [object = thing.get()] { return object->getText(); },
            [object = thing.get()](const std::string& value) { object->setText(value); });
};

} // namespace Valdane::Faults
