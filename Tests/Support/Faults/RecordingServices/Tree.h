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
        root->objects[thing->Object::name] = thing;
        root->onEmitSigChanged = listen;
        thing->root = root;
        thing->owner = root;
        thing->dynamicAttributes = std::make_shared<DynamicAttributeCollection>();
        attribute->name = "text";
        attribute->forStandardEnabled = true;
        attribute->getter = [object = thing.get()]
        {
            return object->getText();
        };
        attribute->setter = [object = thing.get()](const std::string& value)
        {
            object->setText(value);
        };
        attribute->sigChanged.connect([](const std::string&) { listen(); }).releaseWithoutDisconnect();
        thing->attributes["text"] = attribute;
    }

    Path attributePath() const
    {
        return thing->getPath(root.get(), "text", RequestedPathType::FromRoot);
    }

    std::shared_ptr<Object> root = std::make_shared<Object>("root");
    std::shared_ptr<NamedThing> thing = std::make_shared<NamedThing>();
    std::shared_ptr<AttributeDescription<std::string>> attribute =
        std::make_shared<AttributeDescription<std::string>>();
};

} // namespace Valdane::Faults
