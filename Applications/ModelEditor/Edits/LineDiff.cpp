#include "Applications/ModelEditor/Edits/LineDiff.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// The lines that both texts have are found from the outside to the inside: those at the start and at the end of a stretch, then
// those that are there once on each side, in the longest series that is in the same order on both. Between these it begins
// again. A short stretch without such lines is compared line by line with each other.

namespace ModelEditor
{

namespace
{

using Number = std::uint32_t;
constexpr Number none = std::numeric_limits<Number>::max();

// Lines that are longer than `longest` are taken apart.
std::vector<std::string_view> linesOf(std::string_view text, std::size_t longest)
{
    std::vector<std::string_view> lines;
    while (!text.empty())
    {
        auto length = std::min(text.find('\n'), text.size() - 1) + 1;
        if (length > longest)
        {
            length = std::min(length, std::min(text.find('>'), text.size() - 1) + 1);
        }
        lines.push_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return lines;
}

// A part of both texts.
struct Stretch
{
    Number before;
    Number beforeEnd;
    Number after;
    Number afterEnd;

    bool isOneSided() const
    {
        return before == beforeEnd || after == afterEnd;
    }
};

struct Pair
{
    Number before;
    Number after;
};

// The longest series of pairs, which are in order before, that are in order after as well.
std::vector<Pair> longestSeries(const std::vector<Pair>& pairs)
{
    std::vector<Number> lasts; // of the series of each length, the pair that is first after
    std::vector<Number> former(pairs.size(), none);
    for (Number i = 0; i < pairs.size(); ++i)
    {
        const auto place =
            std::ranges::lower_bound(lasts, pairs[i].after, {}, [&](Number n) { return pairs[n].after; });
        former[i] = place == lasts.begin() ? none : *(place - 1);
        const auto length = place - lasts.begin();
        lasts.resize(std::max(lasts.size(), static_cast<std::size_t>(length) + 1));
        lasts[static_cast<std::size_t>(length)] = i;
    }
    std::vector<Pair> series;
    for (Number i = lasts.empty() ? none : lasts.back(); i != none; i = former[i])
    {
        series.push_back(pairs[i]);
    }
    std::ranges::reverse(series);
    return series;
}

class Comparison
{
public:
    Comparison(const std::vector<std::string_view>& linesBefore,
               const std::vector<std::string_view>& linesAfter)
        : before(numbersOf(linesBefore)), after(numbersOf(linesAfter)), partners(before.size(), none)
    {
        open.push_back({0, static_cast<Number>(before.size()), 0, static_cast<Number>(after.size())});
        while (!open.empty())
        {
            Stretch stretch = open.back();
            open.pop_back();
            trim(stretch);
            if (!stretch.isOneSided() && !divide(stretch))
            {
                compareAll(stretch);
            }
        }
    }

    // For each line before the same line after, or none.
    const std::vector<Number>& getPartners() const
    {
        return partners;
    }

private:
    std::vector<Number> numbersOf(const std::vector<std::string_view>& lines)
    {
        std::vector<Number> all;
        all.reserve(lines.size());
        for (const auto line : lines)
        {
            all.push_back(numbers.try_emplace(line, static_cast<Number>(numbers.size())).first->second);
        }
        return all;
    }

    void trim(Stretch& stretch)
    {
        while (!stretch.isOneSided() && before[stretch.before] == after[stretch.after])
        {
            partners[stretch.before++] = stretch.after++;
        }
        while (!stretch.isOneSided() && before[stretch.beforeEnd - 1] == after[stretch.afterEnd - 1])
        {
            partners[--stretch.beforeEnd] = --stretch.afterEnd;
        }
    }

    // False if no line is there once on each side.
    bool divide(const Stretch& stretch)
    {
        struct Found
        {
            Number countBefore = 0;
            Number countAfter = 0;
            Number after = 0;
        };

        std::unordered_map<Number, Found> found;
        for (Number i = stretch.before; i < stretch.beforeEnd; ++i)
        {
            ++found[before[i]].countBefore;
        }
        for (Number i = stretch.after; i < stretch.afterEnd; ++i)
        {
            auto& line = found[after[i]];
            ++line.countAfter;
            line.after = i;
        }
        std::vector<Pair> pairs;
        for (Number i = stretch.before; i < stretch.beforeEnd; ++i)
        {
            const auto& line = found[before[i]];
            if (line.countBefore == 1 && line.countAfter == 1)
            {
                pairs.push_back({i, line.after});
            }
        }
        if (pairs.empty())
        {
            return false;
        }
        Stretch rest = stretch;
        for (const auto& pair : longestSeries(pairs))
        {
            partners[pair.before] = pair.after;
            open.push_back({rest.before, pair.before, rest.after, pair.after});
            rest.before = pair.before + 1;
            rest.after = pair.after + 1;
        }
        open.push_back(rest);
        return true;
    }

    // By the lengths of the longest common series from each pair of places on.
    void compareAll(const Stretch& stretch)
    {
        constexpr std::size_t mostCells = 1'000'000;
        const std::size_t width = stretch.afterEnd - stretch.after + 1;
        const std::size_t height = stretch.beforeEnd - stretch.before + 1;
        if (width > mostCells / height)
        {
            return;
        }
        std::vector<Number> lengths(width * height, 0);
        for (std::size_t i = height - 1; i-- > 0;)
        {
            for (std::size_t j = width - 1; j-- > 0;)
            {
                const bool isSame = before[stretch.before + i] == after[stretch.after + j];
                const auto here = (i * width) + j;
                lengths[here] = isSame ? lengths[here + width + 1] + 1
                                       : std::max(lengths[here + width], lengths[here + 1]);
            }
        }
        for (std::size_t i = 0, j = 0; i + 1 < height && j + 1 < width;)
        {
            const auto here = (i * width) + j;
            if (before[stretch.before + i] == after[stretch.after + j])
            {
                partners[stretch.before + i++] = stretch.after + static_cast<Number>(j++);
            }
            else
            {
                lengths[here + width] >= lengths[here + 1] ? ++i : ++j;
            }
        }
    }

    std::unordered_map<std::string_view, Number> numbers;
    std::vector<Number> before;
    std::vector<Number> after;
    std::vector<Number> partners;
    std::vector<Stretch> open;
};

// A line to be told, and what is before it in either text.
struct Told
{
    char sign;
    std::string_view line;
    std::size_t before;
    std::size_t after;
};

std::vector<Told> tell(const std::vector<std::string_view>& before,
                       const std::vector<std::string_view>& after)
{
    const Comparison comparison(before, after);
    const auto& partners = comparison.getPartners();
    std::vector<Told> all;
    std::size_t next = 0;
    const auto tellAfter = [&](std::size_t i, std::size_t end)
    {
        for (; next < end; ++next)
        {
            all.push_back({'+', after[next], i, next});
        }
    };
    for (std::size_t i = 0; i < before.size(); ++i)
    {
        if (partners[i] == none)
        {
            all.push_back({'-', before[i], i, next});
            continue;
        }
        tellAfter(i, partners[i]);
        all.push_back({' ', before[i], i, next++});
    }
    tellAfter(before.size(), after.size());
    return all;
}

// Those that differ, and three on either side of them.
std::vector<bool> chooseLines(const std::vector<Told>& all)
{
    constexpr std::size_t around = 3;
    std::vector<bool> chosen(all.size(), false);
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        if (all[i].sign != ' ')
        {
            const auto first = chosen.begin() + static_cast<std::ptrdiff_t>(i - std::min(i, around));
            const auto end =
                chosen.begin() + static_cast<std::ptrdiff_t>(std::min(i + around + 1, all.size()));
            std::fill(first, end, true);
        }
    }
    return chosen;
}

std::string headOf(const std::vector<Told>& all, std::size_t first, std::size_t end)
{
    std::size_t before = 0;
    std::size_t after = 0;
    for (std::size_t i = first; i < end; ++i)
    {
        before += all[i].sign == '+' ? 0 : 1;
        after += all[i].sign == '-' ? 0 : 1;
    }
    const auto place = [](std::size_t from, std::size_t count)
    {
        return std::to_string(from + (count == 0 ? 0 : 1)) + "," + std::to_string(count);
    };
    return "@@ -" + place(all[first].before, before) + " +" + place(all[first].after, after) + " @@\n";
}

bool hasOnlyCarriageReturns(const std::vector<std::string_view>& lines)
{
    return std::ranges::none_of(lines, [](std::string_view line)
                                { return line.ends_with('\n') && !line.ends_with("\r\n"); });
}

struct Reader
{
    bool isPerson;
    std::size_t most;
};

constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

std::string tellFor(const Reader& reader, const std::string& before, const std::string& after)
{
    const std::size_t longest = reader.isPerson ? 500 : unlimited;
    const auto most = reader.most;
    const auto linesBefore = linesOf(before, longest);
    const auto linesAfter = linesOf(after, longest);
    const auto all = tell(linesBefore, linesAfter);
    const auto chosen = chooseLines(all);
    const bool dropsReturns =
        reader.isPerson && hasOnlyCarriageReturns(linesBefore) && hasOnlyCarriageReturns(linesAfter);
    std::string result;
    std::size_t told = 0;
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        if (!chosen[i] || ++told > most)
        {
            continue;
        }
        if (i == 0 || !chosen[i - 1])
        {
            const auto end = std::find(chosen.begin() + static_cast<std::ptrdiff_t>(i), chosen.end(), false);
            result += headOf(all, i, static_cast<std::size_t>(end - chosen.begin()));
        }
        auto line = all[i].line;
        const bool hasEnd = line.ends_with('\n');
        line.remove_suffix(hasEnd ? 1 : 0);
        line.remove_suffix(dropsReturns && line.ends_with('\r') ? 1 : 0);
        result.append(1, all[i].sign).append(line).append("\n");
        const bool isLast = line.data() + line.size() == before.data() + before.size() ||
                            line.data() + line.size() == after.data() + after.size();
        result += !hasEnd && isLast ? "\\ no line end\n" : "";
    }
    return told > most ? result + "and " + std::to_string(told - most) + " more\n" : result;
}

} // namespace

std::string differencesOf(const std::string& before, const std::string& after, std::size_t most)
{
    return tellFor({.isPerson = true, .most = most}, before, after);
}

std::string patchOf(const std::string& path, const std::string& before, const std::string& after)
{
    const auto lines = tellFor({.isPerson = false, .most = unlimited}, before, after);
    // A name with blanks would end at the first one.
    const std::string end = path.find(' ') == std::string::npos ? "\n" : "\t\n";
    return lines.empty() ? "" : "--- " + path + end + "+++ " + path + end + lines;
}

} // namespace ModelEditor
