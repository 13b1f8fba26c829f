// Steps of a document that a History follows against steps of one without, in one process and in turn: the
// speed of a machine varies. Writes the medians and their ratios.

#include "Benchmarks/EditedNumber.h"
#include "Benchmarks/Samples.h"
#include "Benchmarks/SecondThread.h"

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace Valdane::Benchmarks
{
namespace
{

constexpr std::size_t rowCount = 100'000;

/// A history of many rows, without a History, with one, or with a view of it.
struct Document
{
    Document()
    {
        edited.add(rowCount);
    }

    EditedNumber edited;
    std::optional<History> history;
    std::optional<ListeningView> view;
};

using Work = std::function<void(Document&)>;

/// Measures @p work on each document in turn, and leads back from it.
/// @return the samples of each document.
template <std::size_t Count>
std::array<Samples, Count> measureInTurns(const std::array<Document*, Count>& documents,
                                          std::size_t repetitions, const std::array<Work, Count>& works,
                                          const Work& before, const Work& after)
{
    std::array<Samples, Count> samples;
    for (std::size_t repetition = 0; repetition < repetitions; ++repetition)
    {
        // None always finds the heap and the caches as the same other one leaves them.
        for (std::size_t turn = 0; turn < Count; ++turn)
        {
            const std::size_t which = (repetition + turn) % Count;
            Document& document = *documents[which];
            before(document);
            samples[which].push_back(nanosecondsOf([&] { works[which](document); }));
            after(document);
        }
    }
    return samples;
}

void compareSteps()
{
    struct Row
    {
        std::string name;
        Work before;
        Work measured;
        Work after;
    };

    constexpr std::size_t count = 1000;
    const Work nothing = [](Document&) {
    };
    const Work undo = [](Document& document)
    {
        document.edited.undo(count);
    };
    const Work redo = [](Document& document)
    {
        document.edited.redo(count);
    };
    const Work add = [](Document& document)
    {
        document.edited.add(count);
    };
    const Work drop = [](Document& document)
    {
        document.edited.undo(count);
        document.edited.manager.forgetRedoCommands();
    };
    Document plain;
    Document followed;
    followed.history.emplace(followed.edited.manager);
    Document viewed;
    viewed.view.emplace(viewed.edited.manager);
    for (const Row& row :
         {Row{"undo", nothing, undo, redo}, Row{"redo", undo, redo, nothing}, Row{"add", nothing, add, drop}})
    {
        const auto samples =
            measureInTurns<3>({&plain, &followed, &viewed}, 501, {row.measured, row.measured, row.measured},
                              row.before, row.after);
        printRow(row.name + " with a History, against without", samples[1], samples[0], count);
        printRow(row.name + " with a view, against without", samples[2], samples[0], count);
        printRow(row.name + " with a view, against a History alone", samples[2], samples[1], count);
    }
}

void compareMoves()
{
    Document moved;
    Document undone;
    moved.view.emplace(moved.edited.manager);
    undone.view.emplace(undone.edited.manager);
    const Work nothing = [](Document&) {
    };
    const Work undoAll = [](Document& document)
    {
        document.edited.manager.undo(rowCount);
    };
    const Work redoAll = [](Document& document)
    {
        document.edited.manager.redo(rowCount);
    };
    const Work moveToStart = [](Document& document)
    {
        document.view->history.moveTo(0);
    };
    const Work moveToEnd = [](Document& document)
    {
        document.view->history.moveTo(rowCount);
    };
    const std::array<Document*, 2> documents{&undone, &moved};
    const auto back = measureInTurns<2>(documents, 31, {undoAll, moveToStart}, nothing, redoAll);
    printRow("moveTo(0), against undo(100000)", back[1], back[0], rowCount);
    const auto forth = measureInTurns<2>(documents, 31, {redoAll, moveToEnd}, undoAll, nothing);
    printRow("moveTo(100000), against redo(100000)", forth[1], forth[0], rowCount);
}

} // namespace
} // namespace Valdane::Benchmarks

int main()
{
    const Valdane::Benchmarks::SecondThread thread;
    Valdane::Benchmarks::compareSteps();
    Valdane::Benchmarks::compareMoves();
    return 0;
}
