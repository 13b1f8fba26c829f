#pragma once

#include <pugixml.hpp>

#include <string>
#include <vector>

namespace ModelEditor
{

class Encoding;

/// Markup that somebody has written to be put into a document.
struct NewMarkup
{
    std::string text;      ///< without layout around the nodes, unless there are texts beside them
    bool hasTexts = false; ///< texts or CDATA sections that are in no element of it
    std::vector<std::string> prefixes; ///< that are used in it and not declared there
};

/// Reads elements, comments, instructions, CDATA sections and texts.
///
/// @throws VdException `markup:<line>:<column>: <what is wrong>`, or without a place what concerns all of it.
NewMarkup readMarkup(const std::string& markup);

/// Whether @p prefix is declared at @p element or around it.
bool isDeclaredAt(pugi::xml_node element, const std::string& prefix);

/// @p markup, which is that of @p node, so that it means the same in the element @p target: if it is an element, it gets
/// declarations of the namespaces that it uses and that are not the same there.
std::string withNamespaces(std::string markup, pugi::xml_node node, pugi::xml_node target,
                           const Encoding& encoding);

} // namespace ModelEditor
