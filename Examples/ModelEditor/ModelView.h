#pragma once

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>

namespace ModelEditor
{

class XmlObject;
struct Selected;

/// Prints parts of a model.
///
/// Ownership: refers to the stream. Thread: the application's main thread only.
class ModelView
{
public:
    explicit ModelView(std::ostream& stream);

    /// The element and what is below it, @p depth levels deep, an indented line for each.
    void printTree(const std::shared_ptr<XmlObject>& top, std::size_t depth) const;

    /// All that is known of @p selected.
    void printDetails(const Selected& selected) const;

    /// One line: the address and the value.
    void printLine(const Selected& selected) const;

private:
    void printNode(const XmlObject& object, std::size_t level, bool isLast) const;
    void printElement(XmlObject& object) const;
    void printValue(XmlObject& object, const std::string& attributeName) const;

    std::ostream& out;
};

/// What C++ calls the type of the attribute @p name of @p object; empty if it is not described.
std::string typeNameOf(XmlObject& object, const std::string& name);

} // namespace ModelEditor
