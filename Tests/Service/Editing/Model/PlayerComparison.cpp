#include "Player.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <sstream>

// What is compared after each operation.

namespace Valdane::EditingModel
{

namespace
{

std::string joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
    {
        text += line + "; ";
    }
    return text;
}

std::size_t countOf(const std::string& part, const std::string& text)
{
    std::size_t count = 0;
    for (std::size_t place = text.find(part); place != std::string::npos; place = text.find(part, place + 1))
    {
        ++count;
    }
    return count;
}

} // namespace

void Player::compareAnswers(const std::string& ofReal, const std::string& ofModel)
{
    compare("the answer", ofReal, ofModel);
}

void Player::compare(const std::string& what, const std::string& ofReal, const std::string& ofModel) const
{
    if (ofReal != ofModel)
    {
        std::ostringstream text;
        text << what << " after operation " << next << ':' << (next == 0 ? Operation() : sequence[next - 1])
             << "expected: " << ofModel << "\nactual:   " << ofReal;
        throw Difference{text.str()};
    }
}

void Player::compareState()
{
    const std::vector<std::string> rows = model.rows();
    compare("the data are right", answerOf(real.world->drawing == model.data()), "yes");
    compare("what a view shows", joined(real.view.rows), joined(rows));
    compare("the number of rows", std::to_string(real.history.getRowCount()), std::to_string(rows.size()));
    for (std::uint64_t row = 0; row < rows.size(); ++row)
    {
        compare("a row", lookOf(real.history, row), rows[row]);
    }
    compare("open groups", std::to_string(real.manager.getOpenGroups().size()),
            std::to_string(model.depth()));
    compare("the position", std::to_string(real.history.getPosition()), std::to_string(model.getPosition()));
    for (std::size_t tracker = 0; tracker < real.toldModified.size(); ++tracker)
    {
        compareChanges(tracker);
    }
}

void Player::compareChanges(std::size_t tracker)
{
    const std::string of = " for tracker " + std::to_string(tracker);
    const bool isModified = model.isModified(tracker);
    compare("modified" + of, answerOf(real.saveState->isModified(tracker)), answerOf(isModified));
    std::string& told = real.toldModified[tracker];
    compare("told once" + of, answerOf(std::ranges::adjacent_find(told) == told.end()), "yes");
    told.erase(0, told.size() - 1);
    compare("told as modified" + of, told, isModified ? "m" : "s");
    const std::vector<std::string> lines = real.unsavedLines(tracker);
    compare("something is unsaved" + of, answerOf(!lines.empty()), answerOf(isModified));
    if (const auto exact = model.exactChanges(tracker))
    {
        compare("unsaved" + of, joined(lines), joined(*exact));
    }
    else
    {
        compareCommands(tracker, lines);
    }
    for (std::size_t layer = 0; layer < moduleCount; ++layer)
    {
        const std::string start = std::to_string(layer) + "|";
        const bool isTold =
            std::ranges::any_of(lines, [&](const std::string& line) { return line.starts_with(start); });
        const bool mustBeTold = (model.modulesToBeTold(tracker) >> layer & 1U) != 0;
        compare("module " + start + of + " in " + joined(lines), answerOf(isTold || !mustBeTold), "yes");
    }
}

void Player::compareCommands(std::size_t tracker, const std::vector<std::string>& lines)
{
    for (std::size_t layer = 0; layer < layerCount; ++layer)
    {
        const std::string key = layer == moduleCount ? "-" : std::to_string(layer);
        const auto line =
            std::ranges::find_if(lines, [&](const std::string& text) { return text.starts_with(key + "|"); });
        std::set<std::string> optional;
        const std::string expected = model.wordsOfCommands(tracker, layer, optional);
        std::string words = (line == lines.end() ? "" : line->substr(key.size())) + "|";
        optional.insert("|other changes");
        for (const std::string& left : optional)
        {
            // Commands without a name have the same words: one that may be left out, and one that must be told.
            if (countOf(left + "|", words) > countOf(left + "|", expected + "|"))
            {
                words.erase(words.find(left + "|"), left.size());
            }
        }
        compare("commands of module " + key + " for tracker " + std::to_string(tracker), words,
                expected + "|");
    }
}

} // namespace Valdane::EditingModel
