#pragma once

#include "Applications/ModelEditor/Document/Cutting.h"
#include "Applications/ModelEditor/Document/ObjectsByNode.h"
#include "Applications/ModelEditor/Document/XmlObject.h"
#include "Platform/Parameterization/Path.h"

#include <pugixml.hpp>

#include <memory>
#include <string>
#include <vector>

namespace ModelEditor
{

/// Modules that can be appended to a model and taken out of it again. They keep their objects.
struct XmlPart
{
    std::string markup; ///< while they are out: what to append, see XmlDocument::append()

    std::vector<std::shared_ptr<XmlObject>> modules{}; ///< empty until they are appended for the first time
    std::vector<XmlObject*> objects{};                 ///< the modules and all below them, in document order
};

/// Children of one element that can be taken out of a model and put into it. They keep their objects, and what was
/// changed in them.
struct XmlCutting
{
    /// A text among them.
    struct Text
    {
        pugi::xml_node node;
        XmlObject::TakenText taken;
    };

    Valdane::Path parent{}; ///< the way to the element
    Cutting cutting{};      ///< while they are in the model, nothing but the ranges

    // While they are out, the objects of elements among them, all objects that were made, and the texts.
    std::vector<std::shared_ptr<XmlObject>> tops{};
    std::unique_ptr<ObjectsByNode> objects{};
    std::vector<Text> texts{};
};

} // namespace ModelEditor
