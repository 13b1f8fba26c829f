#include "Examples/ModelEditor/EditorTexts.h"

#include "Examples/ModelEditor/Words.h"
#include "Examples/ModelEditor/XmlChange.h"
#include "Examples/ModelEditor/XmlObject.h"

namespace ModelEditor
{

namespace
{

constexpr std::size_t longest = 60;

// Never cut within a UTF-8 sequence.
std::string brief(std::string_view text)
{
    if (text.size() <= longest)
    {
        return shown(text);
    }
    std::size_t end = longest;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80)
    {
        --end;
    }
    return shown(text.substr(0, end)) + "...";
}

} // namespace

const std::string_view editingHelp =
    "\n"
    "An XPATH says which: //link[@name='tool0'], //mass/@value (an attribute), //plugin/text() (a text).\n"
    "Words with blanks, quotes or # stand in double or single quotes; the rest of a line after # is a "
    "comment.\n";

std::string describeSet(const XmlObject& object, const std::string& attribute, const std::string& value)
{
    const std::string what = attribute.starts_with("text()") ? "text" : attribute;
    return "Set " + what + " of " + brief(object.getTitle()) + " to " + brief(value);
}

std::string describeRename(const XmlObject& object, const std::string& name)
{
    return "Rename " + brief(object.getTitle()) + " to " + brief(name);
}

std::string describeAnnotate(const XmlObject& object, const std::string& name, const std::string& text)
{
    return "Annotate " + brief(object.getTitle()) + " with " + name + " = " + brief(text);
}

std::string describeClear(const XmlObject& object)
{
    return "Clear annotations of " + brief(object.getTitle());
}

std::string describeChange(const XmlChange& change)
{
    const std::string place = change.object.getAddress() + "/" + change.value + ": ";
    if (!change.before)
    {
        return place + "added " + brief(change.after.value_or(""));
    }
    return place + (change.after ? brief(*change.before) + " -> " + brief(*change.after)
                                 : "removed " + brief(*change.before));
}

} // namespace ModelEditor
