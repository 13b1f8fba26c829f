// Steps of a document that a History follows against steps of one without, in one process and in turn: the
// speed of a machine varies. Writes the medians and their ratios.

#include "Benchmarks/EditedNumber.h"
#include "Benchmarks/SecondThread.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace Valdane::Benchmarks
{
namespace
{

constexpr std::size_t rowCount = 100'000;

/// Nanoseconds, one sample for each repetition.
using Samples = std::vector<double>;

template <typename Work>
double nanosecondsOf(const Work& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
}

double medianOf(Samples samples)
{
    std::ranges::nth_element(samples, samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2));
    return samples[samples.size() / 2];
}

/// The median of the ratios of what was measured right after one another.
double ratioOf(const Samples& measured, const Samples& reference)
{
    Samples ratios;
    std::ranges::transform(measured, reference, std::back_inserter(ratios), std::divides<>());
    return medianOf(ratios);
}

void print(const std::string& row, const Samples& measured, const Samples& reference, double operations)
{
    std::cout << std::left << std::setw(44) << row << std::right << std::fixed << std::setprecision(1)
              << std::setw(8) << medianOf(measured) / operations << " ns against " << std::setw(8)
              << medianOf(reference) / operations << " ns: " << std::setprecision(2)
              << ratioOf(measured, reference) << '\n';
}

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
        print(row.name + " with a History, against without", samples[1], samples[0], count);
        print(row.name + " with a view, against without", samples[2], samples[0], count);
        print(row.name + " with a view, against a History alone", samples[2], samples[1], count);
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
    print("moveTo(0), against undo(100000)", back[1], back[0], rowCount);
    const auto forth = measureInTurns<2>(documents, 31, {redoAll, moveToEnd}, undoAll, nothing);
    print("moveTo(100000), against redo(100000)", forth[1], forth[0], rowCount);
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
