#pragma once

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/Journal/CommandCodecs.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace Valdane
{

/// A document for tests: cells with numbers.
struct Sheet
{
    std::array<int, 6> cells{};

    bool operator==(const Sheet&) const = default;

    std::string text() const
    {
        std::string joined;
        for (const int cell : cells)
        {
            joined += std::to_string(cell) + " ";
        }
        return joined;
    }
};

/// Multiplies a cell by ten and adds a digit, so that the order of commands shows in the sheet. With a factor of 1 the order
/// does not matter.
class TypeDigit : public CommandBase, public MergeableCommand
{
public:
    TypeDigit(Sheet& edited, std::size_t cellIndex, int typedDigit)
        : CommandBase("type " + std::to_string(typedDigit)),
          sheet(edited),
          cell(cellIndex),
          digits(typedDigit)
    {
    }

    void execute() override
    {
        if (fails)
        {
            throw std::runtime_error("a digit that nobody may type");
        }
        old = sheet.cells[cell];
        sheet.cells[cell] = (old * factor + digits) % 1'000'000;
    }

    void undo() override
    {
        sheet.cells[cell] = factor == 1 ? sheet.cells[cell] - digits : old;
    }

    bool isRedoCapable() override
    {
        return isKeptForRedo;
    }

    bool mergeWith(const CommandBase& next) override
    {
        const auto* const typed = dynamic_cast<const TypeDigit*>(&next);
        if (typed == nullptr || typed->cell != cell || factor > 1000)
        {
            return false;
        }
        digits = digits * typed->factor + typed->digits;
        factor *= typed->factor;
        return true;
    }

    Sheet& sheet;
    std::size_t cell;
    int digits;
    int factor = 10;
    int old = 0;
    bool isKeptForRedo = true;
    bool fails = false;
};

inline void addTypeDigit(CommandCodecs& codecs, Sheet& sheet, CommandCodecs::Keeps keeps)
{
    using Json = nlohmann::json;
    codecs.add<TypeDigit>(
        "type-digit", 2, keeps,
        [keeps](const TypeDigit& typed)
        {
            Json data{{"cell", typed.cell},
                      {"digits", typed.digits},
                      {"factor", typed.factor},
                      {"redo", typed.isKeptForRedo}};
            if (keeps == CommandCodecs::Keeps::Undo)
            {
                data["old"] = typed.old;
            }
            return data;
        },
        [&sheet](const Json& data, std::uint32_t)
        {
            auto typed = std::make_shared<TypeDigit>(sheet, data.at("cell").get<std::size_t>(),
                                                     data.at("digits").get<int>());
            typed->factor = data.at("factor").get<int>();
            typed->old = data.value("old", -1);
            typed->isKeptForRedo = data.at("redo").get<bool>();
            return typed;
        });
}

} // namespace Valdane
