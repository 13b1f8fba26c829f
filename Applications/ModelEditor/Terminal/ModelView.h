#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <string_view>

namespace Valdane
{
class Object;
} // namespace Valdane

namespace ModelEditor
{

class HistoryLevel;
class XmlObject;
struct Selected;

/// Prints parts of a model and its history.
///
/// Ownership: refers to the stream. Thread: the application's main thread only.
class ModelView
{
public:
    /// @param beforeLine  called before each line, or the few lines of one element. What it throws ends the operation.
    ModelView(std::ostream& stream, std::function<void()> beforeLine);

    /// The element and what is below it, @p depth levels deep, an indented line for each, with a `*` behind
    /// those in @p marked.
    void printTree(const std::shared_ptr<XmlObject>& top, std::size_t depth,
                   const std::set<const Valdane::Object*>& marked) const;

    /// One line: the address and the name; the root stands for its own values and for what modules there are.
    void printModule(const XmlObject& module) const;

    /// All that is known of @p selected.
    void printDetails(const Selected& selected) const;

    /// One line: the address and the value.
    void printLine(const Selected& selected) const;

    /// What can be undone, oldest first, the position, and what can be redone: of the model and, under a line of
    /// their own, of a recording and a group in it. All but the last level show only what is done.
    ///
    /// @param most  how many steps to list before and behind each position; tells how many others there are.
    void printHistory(const std::list<HistoryLevel>& levels, std::uint64_t most) const;

    /// Prints what differs, line by line as differencesOf() tells it, below one line for each of the two texts.
    void printDifferences(std::string_view lines) const;

private:
    void printRows(const HistoryLevel& level, std::uint64_t first, std::uint64_t end) const;
    void printOnlyText(const Selected& selected) const;
    void printHidden(std::uint64_t steps) const;
    void printNode(const std::shared_ptr<XmlObject>& shownObject, std::size_t level, bool isLast,
                   bool isMarked) const;
    void printElement(XmlObject& object) const;
    void printValue(XmlObject& object, const std::string& attributeName) const;

    std::ostream& out;
    std::function<void()> check;
};

} // namespace ModelEditor
