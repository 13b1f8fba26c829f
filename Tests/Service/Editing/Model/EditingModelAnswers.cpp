#include "EditingModel.h"

#include <algorithm>
#include <iterator>
#include <utility>

// What the model answers to questions.

namespace Valdane::EditingModel
{

namespace
{

/// Whether a command with these reported layers is told with @p layer. The last one is for those without any.
bool isTold(Layers reported, std::size_t layer)
{
    return layer == moduleCount ? reported == 0 : (reported >> layer & 1U) != 0;
}

std::string wordsOf(const Entry& entry, bool isUndone)
{
    const std::string text = textOf(entry);
    return (isUndone ? "|undone: " : "|") + (text.empty() ? "unnamed change" : text);
}

enum class SavedPart
{
    None,
    Some,
    All,
};

SavedPart savedPartOf(const Entry& entry, const Drawing& saved)
{
    std::set<int> numbers;
    collectStrokes(entry, numbers);
    std::size_t count = 0;
    for (std::size_t layer = 0; layer < layerCount; ++layer)
    {
        count += static_cast<std::size_t>(std::ranges::count_if(saved.strokesOf(layer), [&](int number)
                                                                { return numbers.contains(number); }));
    }
    return count == 0 ? SavedPart::None : count == numbers.size() ? SavedPart::All : SavedPart::Some;
}

/// A line for each module, in the order in which they come; that of what belongs to no module is "-".
class ChangeLines
{
public:
    void add(Layers reported, const std::string& words)
    {
        for (std::size_t layer = 0; layer < layerCount; ++layer)
        {
            if (isTold(reported, layer))
            {
                lineOf(layer) += words;
            }
        }
    }

    /// For the modules without a line.
    void addOthers(Layers reported)
    {
        for (std::size_t layer = 0; layer < moduleCount; ++layer)
        {
            if ((reported >> layer & 1U) != 0 && places[layer] == 0)
            {
                lineOf(layer) += "|other changes";
            }
        }
    }

    std::vector<std::string> take()
    {
        return std::move(lines);
    }

private:
    std::string& lineOf(std::size_t layer)
    {
        if (places[layer] == 0)
        {
            lines.push_back(layer == moduleCount ? "-" : std::to_string(layer));
            places[layer] = lines.size();
        }
        return lines[places[layer] - 1];
    }

    std::vector<std::string> lines;
    /// Behind which line of others that of a layer is; 0 if it has none.
    std::array<std::size_t, layerCount> places{};
};

} // namespace

bool Model::hasWaiting() const
{
    return !waitingOutside.empty() ||
           std::ranges::any_of(groups, [](const Group& group) { return !group.waiting.empty(); });
}

bool Model::hasOnlySingleCommands() const
{
    return std::ranges::all_of(history, [](const Entry& entry) { return entry.parts.empty(); });
}

std::vector<std::string> Model::rows() const
{
    std::vector<std::string> looks;
    const auto saved0 = savedPosition(0);
    const auto saved1 = savedPosition(1);
    for (std::uint64_t row = 0; row < history.size(); ++row)
    {
        std::string look = textOf(history[row]);
        look += row + 1 == position ? "*" : row < position ? "+" : "";
        look += saved0 == row + 1 ? "!0" : "";
        look += saved1 == row + 1 ? "!1" : "";
        looks.push_back(std::move(look));
    }
    return looks;
}

bool Model::isModified(std::size_t tracker) const
{
    return drawing != saved[tracker] || reportedNow() != 0;
}

std::optional<std::vector<std::string>> Model::exactChanges(std::size_t tracker) const
{
    const auto saves = savedPosition(tracker);
    if (!saves.has_value() || isVague[tracker])
    {
        return std::nullopt;
    }
    ChangeLines changes;
    for (std::uint64_t index = std::min(*saves, position); index < std::max(*saves, position); ++index)
    {
        changes.add(history[index].reported, wordsOf(history[index], index >= position));
    }
    changes.addOthers(reportedNow());
    return changes.take();
}

std::string Model::wordsOfCommands(std::size_t tracker, std::size_t layer,
                                   std::set<std::string>& optional) const
{
    std::string words;
    for (std::uint64_t index = 0; index < history.size(); ++index)
    {
        const Entry& entry = history[index];
        if (!isTold(entry.reported, layer))
        {
            continue;
        }
        const bool isDone = index < position;
        const std::string said = wordsOf(entry, !isDone);
        const SavedPart part = savedPartOf(entry, saved[tracker]);
        const bool cameAfterSave = entry.id > newestAtSave[tracker];
        if (part != SavedPart::None && (cameAfterSave || (part == SavedPart::Some && !isDone)))
        {
            optional.insert(said);
        }
        else if (isDone ? part != SavedPart::All : part == SavedPart::All)
        {
            words += said;
        }
    }
    return words;
}

Layers Model::modulesToBeTold(std::size_t tracker) const
{
    Layers modules = 0;
    for (std::size_t layer = 0; layer < moduleCount; ++layer)
    {
        std::vector<int> differing;
        std::ranges::set_symmetric_difference(drawing.strokesOf(layer), saved[tracker].strokesOf(layer),
                                              std::back_inserter(differing));
        const bool isReported =
            std::ranges::any_of(differing, [&](int number) { return !unreported.contains(number); });
        modules |= isReported ? 1U << layer : 0U;
    }
    return modules;
}

Layers Model::reportedNow() const
{
    return drawing.differingFrom(known) & layersOfModules;
}

bool Model::hasLoose() const
{
    return hasWaiting() ||
           std::ranges::any_of(groups, [](const Group& group) { return !group.commands.empty(); });
}

std::optional<std::uint64_t> Model::savedPosition(std::size_t tracker) const
{
    Drawing state = drawing;
    for (std::uint64_t below = position;; --below)
    {
        if (state == saved[tracker])
        {
            return below;
        }
        if (below == 0)
        {
            break;
        }
        erase(history[below - 1], state);
    }
    state = drawing;
    for (std::uint64_t above = position; above < history.size(); ++above)
    {
        draw(history[above], state);
        if (state == saved[tracker])
        {
            return above + 1;
        }
    }
    return std::nullopt;
}

} // namespace Valdane::EditingModel
