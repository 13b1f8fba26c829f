#include "Examples/ModelEditor/HistoryView.h"

#include "Examples/ModelEditor/EditHistory.h"
#include "Examples/ModelEditor/EditorTexts.h"

#include <algorithm>
#include <cstdint>
#include <list>
#include <optional>
#include <string>

namespace ModelEditor
{

namespace
{

class Printer
{
public:
    explicit Printer(std::ostream& stream) : out(stream) {}

    void printDone(const EditScope& scope)
    {
        const auto done = scope.getDone();
        const auto distance = scope.getDistanceToSaved();
        number = 0;
        saved = distance ? std::optional(static_cast<std::int64_t>(done.size()) + *distance) : std::nullopt;
        print(done);
        for (const auto& description : scope.getWaiting())
        {
            out << "   +  " << description << " (waits to be merged with the next edit)\n";
        }
    }

    void printPosition(const EditScope& scope)
    {
        const auto undone = scope.getUndone();
        out << "  => " << scope.getDone().size() << " to undo, " << undone.size() << " to redo\n";
        print(undone);
    }

private:
    void print(const std::list<std::string>& descriptions)
    {
        for (const auto& description : descriptions)
        {
            const std::string text = std::to_string(++number);
            out << std::string(text.size() < 4 ? 4 - text.size() : 0, ' ') << text << "  " << description
                << (saved == number ? "  [saved]\n" : "\n");
        }
    }

    std::ostream& out;
    std::int64_t number = 0;
    std::optional<std::int64_t> saved;
};

} // namespace

// Oldest first, so that the position stands between what is done and what is undone.
void printHistory(std::ostream& out, const EditHistory& history)
{
    Printer printer(out);
    for (const auto& scope : history.getScopes())
    {
        if (scope->getKind() == EditScope::Kind::Recording)
        {
            out << "  in this recording:\n";
        }
        else if (scope->getKind() == EditScope::Kind::Group)
        {
            out << "  in the group " << brief(*history.getGroup()) << ":\n";
        }
        printer.printDone(*scope);
    }
    printer.printPosition(*history.getScopes().back());
}

} // namespace ModelEditor
