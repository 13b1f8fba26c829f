#pragma once

#include "Examples/ModelEditor/Encoding.h"
#include "Examples/ModelEditor/SourceText.h"

#include <pugixml.hpp>

#include <cstddef>
#include <string>
#include <string_view>

namespace ModelEditor
{

/// An XML file in memory: its source text, and the nodes that pugixml made of it.
///
/// The nodes are what XPath sees, the source text is what is saved. Who changes a value changes it in both.
///
/// Thread: one at a time.
class XmlDocument
{
public:
    /// Parses @p bytes, the content of the file @p fileName.
    ///
    /// @throws VdException `<name>:<line>:<column>: <what is wrong>`, or without a place what concerns the
    ///         whole file; std::bad_alloc.
    XmlDocument(const std::string& bytes, const std::string& fileName);

    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    pugi::xml_node getDocumentNode() const;
    pugi::xml_node getRootElement() const;

    SourceText& getSource() noexcept;

    /// Where the text that @p text points to stands in the source: a name, or a value that was not yet
    /// changed.
    ///
    /// @throws VdException if @p text points to something else.
    std::size_t offsetOf(const char* text) const;

    /// Whether values that are written have to be pure ASCII.
    bool isAsciiOnly() const noexcept;

    /// The file as it is to be saved, in the encoding that it had.
    ///
    /// Without changes these are the bytes that were read.
    /// @throws VdException if the encoding lacks a character.
    std::string toBytes() const;

private:
    void parse();
    void requireOneRoot() const;
    void requireNothingBehind() const;
    [[noreturn]] void complainOfText(std::size_t offset) const;
    void requireWellFormed(pugi::xml_node node) const;
    void requireReferences(const char* value, std::string_view end) const;
    std::string_view markupAt(std::size_t offset, std::string_view end) const;
    [[noreturn]] void complain(std::size_t offset, const std::string& what) const;

    std::string name;
    Encoding encoding;
    SourceText source;
    // The parser works in place: the nodes point into this buffer.
    std::string parsed;
    pugi::xml_document document;
};

} // namespace ModelEditor
