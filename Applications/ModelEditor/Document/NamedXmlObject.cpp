#include "Applications/ModelEditor/Document/NamedXmlObject.h"

#include <utility>

namespace ModelEditor
{

NamedXmlObject::NamedXmlObject(std::string key, const XmlContext& shared, pugi::xml_node node)
    : XmlObject(std::move(key), shared, node)
{
}

NamedXmlObject::~NamedXmlObject() = default;

std::string NamedXmlObject::getName() const
{
    return getElement().attribute("name").value();
}

void NamedXmlObject::setName(const std::string& name, bool notify)
{
    change({.name = "name", .step = "@name"}, name);
    if (notify)
    {
        emitSigChanged();
    }
}

std::shared_ptr<XmlObject> makeXmlObject(std::string key, const XmlContext& shared, pugi::xml_node element)
{
    if (!element.attribute("name").empty())
    {
        return std::make_shared<NamedXmlObject>(std::move(key), shared, element);
    }
    return std::make_shared<XmlObject>(std::move(key), shared, element);
}

} // namespace ModelEditor
