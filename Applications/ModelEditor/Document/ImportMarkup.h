#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <string>

namespace ModelEditor
{

class XmlDocument;

/// The modules of a document as they can be appended to another one.
struct ImportMarkup
{
    std::string markup; ///< see XmlDocument::append()
    std::size_t moduleCount = 0;
};

/// The modules of @p from as what they are below the root element @p into: the text of the file, in which
/// modules get the namespace declarations that only their old root has.
///
/// @param from  not to be used any more afterwards but for reading.
/// @throws VdException if it has no modules, if its root has a text of its own, or if an entity is used and
///         the document types differ.
ImportMarkup takeModules(XmlDocument& from, pugi::xml_node into);

} // namespace ModelEditor
