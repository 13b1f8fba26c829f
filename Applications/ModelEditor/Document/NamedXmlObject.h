#pragma once

#include "Applications/ModelEditor/Document/XmlObject.h"
#include "Platform/GeneralServices/NameInterface.h"

#include <memory>
#include <string>

namespace ModelEditor
{

/// An element that has an attribute `name`, which is its name.
///
/// Thread: the application's main thread only.
class NamedXmlObject : public XmlObject, public Valdane::NameInterface
{
public:
    NamedXmlObject(std::string key, const XmlContext& shared, pugi::xml_node node);
    ~NamedXmlObject() override;

    std::string getName() const override;

    /// @param notify  whether the listeners of the object are told.
    /// @throws VdException if XML cannot hold @p name. Nothing has changed then.
    void setName(const std::string& name, bool notify) override;
};

/// The object of @p element, which is a NamedXmlObject if it has an attribute `name`.
std::shared_ptr<XmlObject> makeXmlObject(std::string key, const XmlContext& shared, pugi::xml_node element);

} // namespace ModelEditor
