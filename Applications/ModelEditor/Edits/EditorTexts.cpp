#include "Applications/ModelEditor/Edits/EditorTexts.h"

#include "Applications/ModelEditor/Document/ValueText.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlObject.h"
#include "Applications/ModelEditor/Edits/Words.h"

namespace ModelEditor
{

namespace
{

constexpr std::size_t longestBrief = 60;

// Of a value whose text cannot stand where the type that the file had is wanted.
std::string describeTypes(const XmlChange& change)
{
    if (!change.original || isOf(typeOf(*change.original), *change.after))
    {
        return {};
    }
    return " (was " + std::string(nameOf(typeOf(*change.original))) + ", is " +
           std::string(nameOf(typeOf(*change.after))) + " now)";
}

std::string several(const std::string& xpath, std::size_t count)
{
    return brief(xpath) + " (" + plural(count, "node") + ")";
}

} // namespace

// Never cut within a UTF-8 sequence.
std::string brief(std::string_view text)
{
    if (text.size() <= longestBrief)
    {
        return shown(text);
    }
    std::size_t end = longestBrief;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80)
    {
        --end;
    }
    return shown(text.substr(0, end)) + "...";
}

std::string plural(std::uint64_t count, const std::string& noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

const std::string recordingHeader = "# Recorded by model-editor, to be played on the model as it was then.\n";

const std::string_view editingHelp = R"(
An XPATH says which: //link[@name='tool0'], //mass/@value (an attribute),
//plugin/text() (a text; //plugin does, if it holds nothing else). One with
blanks is quoted: "//a | //b". An edit of several nodes is one step;
if one of them cannot be edited, none is. A value is written as you write it:
008 stays 008.
Its type (int, unsigned int, double, bool, text) is what its text looks like; a
change of type is told, and with --strict refused. set also takes names and
namespaced attributes, and adds an attribute that an element does not have:
//link[1]/@colour; not with --strict.

Names in an XPATH are compared with those of the file as they are written, with
their prefixes: tag selects what is written without one, also where there is a
default namespace. With --namespace PREFIX=URI on the command line, PREFIX:tag
selects what is in that namespace, whatever its prefix, or with none.

replace takes a regular expression as ECMAScript (JavaScript) has it, and
changes every match. In TEXT $1 is what the first ( ) has matched, $& the whole
match, $$ a dollar. \w, \d, \b and -i know only the letters of ASCII. One that
would take too long, or too much memory, is given up with an error.

In a value that set takes, & is an ampersand. It is otherwise with texts that
have references to entities or characters (&nbsp;, &#160;), or had some when the
model was opened: they are shown as markup, with &amp; for an ampersand, and set
takes them so, so that references stay. With markup a reference is entered where
none was. References to tabs and line ends, and those without which the encoding
of the file could not hold a character, count as characters. Names and
annotations are shown and entered without references.

insert, copy and move put nodes into the element as its last children; with
--first as the first ones, with --before and --after beside what is named. New
lines are indented like their neighbours; what is inside of the nodes stays as
it is written. MARKUP may have elements, comments, instructions and texts, with
the prefixes that are declared where it goes. What is copied or moved are new
elements. A copy may stand in what was copied: it is a copy of what was there
before.

What follows group, up to end, becomes one step; undo and redo stay within it
until then. A line that fails inside, whatever the reason, undoes the group and
ends it.

An edit after merge is done at once and becomes one step with the next edit. If
something else comes first that needs a finished step (undo, redo, scale, check,
import, save, export, limit, group, end, record, stop), then what was merged so
far is a step of its own. As after every edit, there is nothing to redo then.

save refuses to overwrite a file that another process has changed or removed
since it was loaded or saved; diff shows what differs, reload reads it again,
save! overwrites it. A file with the same content counts as the same, whatever
was done to it.

With several files open, all verbs but quit, files and save-all concern the
current one: that of use, or the one that was opened last. Each has its own
history, limit, current element and modified modules. open makes a file current
again that is open already, under whatever name. use takes the number of a file,
its path, or its name without the folder. No line writes one file over another
one that is open. A group or a recording must be ended before another file
becomes current.

What is done between record and stop can be undone step by step up to stop, and
is one step then. The script has what was not undone: played on the model as it
was at record, it makes of it the model as it was at stop.

scale and check work on another thread. At a terminal lines can be typed
meanwhile: status, abort and help; Ctrl-C aborts, too. In a script the line is
over when the work is. What fails or is aborted has changed nothing.

The modules of a model are the elements below its root; the root stands for its
own values, and for what modules there are. A module is modified if it differs
from the last save (or export); before the first one, from the file as it was
opened. Undoing back to what was saved makes it unmodified; changing it back by
another edit does not. tree marks modified modules with *.

Words with blanks, quotes, backslashes or a # at the start stand in single or
double quotes. A backslash before a character takes it as it is; in double
quotes only before \" and \\, in single quotes never. The rest of a line after a
# that starts a word is a comment.
)";

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

std::string describeSetOfSeveral(const std::string& xpath, std::size_t count, const std::string& value)
{
    return "Set " + several(xpath, count) + " to " + brief(value);
}

std::string describeRenameOfSeveral(const std::string& xpath, std::size_t count, const std::string& name)
{
    return "Rename " + several(xpath, count) + " to " + brief(name);
}

std::string describeAnnotateOfSeveral(const std::string& xpath, std::size_t count, const std::string& name,
                                      const std::string& text)
{
    return "Annotate " + several(xpath, count) + " with " + name + " = " + brief(text);
}

std::string describeClearOfSeveral(const std::string& xpath, std::size_t count)
{
    return "Clear annotations of " + several(xpath, count);
}

std::string describeReplace(const std::string& xpath, std::size_t count, const std::string& pattern,
                            const std::string& by)
{
    return "Replace " + brief(pattern) + " with " + brief(by) + " in " +
           (count == 1 ? brief(xpath) : several(xpath, count));
}

std::string noteUndeclared(const std::string& prefix)
{
    return "  note: there is no xmlns:" + prefix + " around it; programs that know namespaces want one\n";
}

std::string describeChange(const XmlChange& change)
{
    const std::string place = change.object.getAddress() + "/" + change.value + ": ";
    if (!change.before)
    {
        return place + "added " + brief(change.after.value_or(""));
    }
    if (!change.after)
    {
        return place + "removed " + brief(*change.before);
    }
    return place + brief(*change.before) + " -> " + brief(*change.after) + describeTypes(change);
}

} // namespace ModelEditor
