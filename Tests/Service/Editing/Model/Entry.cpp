#include "Entry.h"

#include <algorithm>
#include <functional>
#include <numeric>

namespace Valdane::EditingModel
{

std::string textOf(const Entry& entry)
{
    std::string text = entry.plan.description;
    for (auto part = entry.parts.begin(); text.empty() && part != entry.parts.end(); ++part)
    {
        text = textOf(*part);
    }
    return text;
}

unsigned callsOf(const Entry& entry)
{
    if (entry.parts.empty())
    {
        return 1;
    }
    return std::transform_reduce(entry.parts.begin(), entry.parts.end(), 0U, std::plus<>(), callsOf);
}

bool isUndoCapable(const Entry& entry)
{
    return entry.plan.isUndoCapable && std::ranges::all_of(entry.parts, isUndoCapable);
}

bool isRedoCapable(const Entry& entry)
{
    return entry.plan.isRedoCapable && std::ranges::all_of(entry.parts, isRedoCapable);
}

void draw(const Entry& entry, Drawing& drawing)
{
    drawing.draw(entry.plan.strokes);
    std::ranges::for_each(entry.parts, [&](const Entry& part) { draw(part, drawing); });
}

void erase(const Entry& entry, Drawing& drawing)
{
    drawing.erase(entry.plan.strokes);
    std::ranges::for_each(entry.parts, [&](const Entry& part) { erase(part, drawing); });
}

void collectStrokes(const Entry& entry, std::set<int>& numbers)
{
    for (const Stroke& stroke : entry.plan.strokes)
    {
        numbers.insert(stroke.number);
    }
    std::ranges::for_each(entry.parts, [&](const Entry& part) { collectStrokes(part, numbers); });
}

bool areAlike(const Plan& plan, const Plan& next)
{
    return plan.shape != 0 && plan.shape == next.shape;
}

void takeIn(Plan& plan, const Plan& next)
{
    plan.description = next.description;
    plan.strokes.insert(plan.strokes.end(), next.strokes.begin(), next.strokes.end());
}

} // namespace Valdane::EditingModel
