#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <string>

namespace ModelEditor
{

class Encoding;
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
/// Characters that @p encoding lacks become references, around which CDATA sections are split.
///
/// @param from  not to be used any more afterwards but for reading.
/// @param encoding  that of the document that is appended to.
/// @throws VdException if it has no modules, if its root has a text of its own, or if an entity is used and
///         the document types differ; with the place if the encoding lacks a character of a name, a comment or
///         a processing instruction.
ImportMarkup takeModules(XmlDocument& from, pugi::xml_node into, const Encoding& encoding);

} // namespace ModelEditor
