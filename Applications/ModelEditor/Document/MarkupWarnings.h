#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ModelEditor
{

class Encoding;

/// What is wrong in a file and yet passes the parser, so that the file can be edited; other programs may refuse
/// it, or read it otherwise.
struct MarkupWarnings
{
    /// No more texts than this, however many places there are.
    static constexpr std::size_t most = 1000;

    std::vector<std::string> texts; ///< `<name>:<line>:<column>: <what is wrong>`, in the order of the file
    std::size_t count = 0;          ///< of all places
};

/// Looks for
/// - bytes that are no UTF-8, characters that the encoding lacks, and those that XML cannot hold, also as
///   references;
/// - references to entities that are not declared, if all that may declare them is in the file;
/// - characters that no name of an element, an attribute or an instruction has;
/// - `]]>` in a text, `--` in a comment;
/// - a document type or an XML declaration where none may be.
///
/// @param text  a whole document that the parser takes, or content of an element. @param name  of its file.
/// @param encoding  that of its file. @param declarations  markup before @p text that may declare entities.
/// Cost: a pass for the characters, and one for the markup.
MarkupWarnings findWarnings(std::string_view text, const std::string& name, const Encoding& encoding,
                            std::string_view declarations = {});

/// The names of the entities that @p text refers to.
std::vector<std::string> findEntities(std::string_view text);

/// Whether XML itself declares the entity @p name, or @p declarations, which is markup, may do so.
bool isDeclared(std::string_view name, std::string_view declarations);

} // namespace ModelEditor
