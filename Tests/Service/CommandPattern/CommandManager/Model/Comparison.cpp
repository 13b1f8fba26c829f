#include "Comparison.h"

#include "ModelSide.h"
#include "Player.h"
#include "RealSide.h"
#include "State.h"

#include <cstddef>
#include <sstream>

namespace Valdane::Model
{

namespace
{

std::string textOf(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
    {
        text += "\n  " + line;
    }
    return text;
}

} // namespace

std::string differenceAfter(const std::vector<Operation>& sequence)
{
    Player<RealSide> real;
    Player<ModelSide> model;
    for (std::size_t step = 0; step < sequence.size(); ++step)
    {
        const std::vector<std::string> happened = real.play(sequence[step]);
        const std::vector<std::string> expected = model.play(sequence[step]);
        const State is = real.observe();
        const State shouldBe = model.observe();
        if (happened != expected || is != shouldBe)
        {
            std::ostringstream text;
            text << "operation " << step + 1 << ':' << sequence[step] << "\nexpected:" << textOf(expected)
                 << "\nhappened:" << textOf(happened) << "\nexpected state: " << shouldBe
                 << "\nactual state:   " << is;
            return text.str();
        }
    }
    return {};
}

} // namespace Valdane::Model
