#include "Examples/ModelEditor/EditHistory.h"

#include "Examples/ModelEditor/EditorTexts.h"
#include "Examples/ModelEditor/ModelModules.h"
#include "Examples/ModelEditor/Words.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <limits>
#include <utility>

namespace ModelEditor
{

using Valdane::VdException;

namespace
{

std::string indented(const std::string& lines)
{
    std::string result;
    for (std::size_t start = 0; start < lines.size();)
    {
        const auto end = lines.find('\n', start) + 1;
        result.append("  ").append(lines, start, end - start);
        start = end;
    }
    return result;
}

} // namespace

EditHistory::EditHistory(std::shared_ptr<ModelModules> modelModules, EditScope::StepListener listener)
    : modules(std::move(modelModules)), tell(std::move(listener))
{
    begin(EditScope::Kind::Whole);
}

EditHistory::~EditHistory() = default;

EditScope& EditHistory::getCurrent() noexcept
{
    return *scopes.back();
}

const std::vector<std::unique_ptr<EditScope>>& EditHistory::getScopes() const noexcept
{
    return scopes;
}

bool EditHistory::isRecording() const noexcept
{
    return scopes.size() > 1 && scopes[1]->getKind() == EditScope::Kind::Recording;
}

const std::optional<std::string>& EditHistory::getGroup() const noexcept
{
    return group;
}

void EditHistory::beginGroup(const std::string& name)
{
    requireNoGroup();
    if (name.empty())
    {
        throw VdException("a group needs a name");
    }
    getCurrent().settle();
    begin(EditScope::Kind::Group);
    group = name;
}

std::uint64_t EditHistory::endGroup()
{
    requireGroup();
    const auto contents = getCurrent().take();
    scopes.pop_back();
    const std::string name = std::exchange(group, std::nullopt).value();
    contents.commands->setDescription(name);
    if (!contents.commands->empty())
    {
        getCurrent().add(contents, joinWords({"group", name}) + "\n" + indented(contents.script) + "end\n");
    }
    return contents.commands->size();
}

std::uint64_t EditHistory::abandonGroup()
{
    requireGroup();
    const auto count = getCurrent().undo(std::numeric_limits<std::uint64_t>::max());
    scopes.pop_back();
    group.reset();
    return count;
}

void EditHistory::beginRecording()
{
    requireNoGroup();
    if (isRecording())
    {
        throw VdException("there is a recording already; stop it first");
    }
    getCurrent().settle();
    begin(EditScope::Kind::Recording);
}

EditHistory::Recording EditHistory::endRecording()
{
    requireNoGroup();
    if (!isRecording())
    {
        throw VdException("there is no recording");
    }
    const auto contents = getCurrent().take();
    scopes.pop_back();
    const auto count = contents.commands->size();
    contents.commands->setDescription("Recording of " + plural(count, "step"));
    if (count != 0)
    {
        getCurrent().add(contents, contents.script);
    }
    return {.count = count, .script = contents.script};
}

std::set<const Valdane::Object*> EditHistory::getModifiedModules(Tracker tracker) const
{
    std::set<const Valdane::Object*> modified;
    for (const auto& scope : scopes)
    {
        modified.merge(scope->getModifiedModules(tracker));
    }
    return modified;
}

void EditHistory::onSaved(Tracker tracker)
{
    getCurrent().onSaved(tracker);
}

void EditHistory::begin(EditScope::Kind kind)
{
    scopes.push_back(std::make_unique<EditScope>(kind, modules, tell));
}

void EditHistory::requireGroup() const
{
    if (!group)
    {
        throw VdException("there is no group");
    }
}

void EditHistory::requireNoGroup() const
{
    if (group)
    {
        throw VdException("not in the group " + brief(*group) + "; end or abandon it first");
    }
}

} // namespace ModelEditor
