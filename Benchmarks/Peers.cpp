// The same work through Valdane's command manager and the undo frameworks of two toolkits, in one process:
// repetitions of all of them in turn, and of each the median. Writes a table, and JSON to the file that is
// given.

#include "Benchmarks/Histories/BareHistory.h"
#include "Benchmarks/Histories/QtHistory.h"
#include "Benchmarks/Histories/ValdaneHistory.h"
#include "Benchmarks/Samples.h"
#include "Benchmarks/SecondThread.h"
#ifdef VALDANE_BENCHMARKS_WX
#include "Benchmarks/Histories/WxHistory.h"
#endif

#include <cstddef>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Valdane::Benchmarks
{
namespace
{

/// Row and history -> samples; the rows in the order in which they were measured.
class Results
{
public:
    void add(const std::string& row, const std::string& history, double nanoseconds)
    {
        if (!samples.contains(row))
        {
            rows.push_back(row);
        }
        samples[row][history].push_back(nanoseconds);
    }

    void print(std::ostream& out) const
    {
        for (const std::string& row : rows)
        {
            out << row << '\n';
            for (const auto& [history, of] : samples.at(row))
            {
                const Samples ratios = ratiosOf(of, samples.at(row).at(QtHistory::name));
                out << "  " << std::left << std::setw(20) << history << std::right << std::fixed
                    << std::setprecision(1) << std::setw(8) << quantile(row, history, 0.5) << " ns ("
                    << quantile(row, history, 0.25) << " to " << quantile(row, history, 0.75) << "), "
                    << std::setprecision(2) << quantileOf(ratios, 0.5) << " (" << quantileOf(ratios, 0.25)
                    << " to " << quantileOf(ratios, 0.75) << ") of " << QtHistory::name << '\n';
            }
        }
    }

    void write(std::ostream& out) const
    {
        out << std::setprecision(6) << "{\n";
        for (const std::string& row : rows)
        {
            out << R"(  ")" << row << R"(": {)";
            const char* separator = "\n";
            for (const auto& [history, of] : samples.at(row))
            {
                out << std::exchange(separator, ",\n") << R"(    ")" << history << R"(": {"median": )"
                    << quantile(row, history, 0.5) << R"(, "lower_quartile": )"
                    << quantile(row, history, 0.25) << R"(, "upper_quartile": )"
                    << quantile(row, history, 0.75) << R"(, "repetitions": )" << of.size() << "}";
            }
            out << "\n  }" << (row == rows.back() ? "\n" : ",\n");
        }
        out << "}\n";
    }

private:
    double quantile(const std::string& row, const std::string& history, double part) const
    {
        return quantileOf(samples.at(row).at(history), part);
    }

    std::vector<std::string> rows;
    std::map<std::string, std::map<std::string, Samples>> samples;
};

template <typename Step>
double eachOf(std::size_t size, const Step& step)
{
    const double whole = nanosecondsOf(
        [&]
        {
            for (std::size_t i = 0; i < size; ++i)
            {
                step();
            }
        });
    return whole / static_cast<double>(size);
}

struct Plan
{
    std::string title;
    Setting setting;
    std::size_t size = 0;
    std::size_t repetitions = 0;
};

template <typename History>
void measureHistory(const Plan& plan, Results& results)
{
    auto history = std::make_unique<History>(plan.setting);
    int value = 0;
    const auto note = [&](const std::string& what, double nanoseconds)
    {
        results.add(what + plan.title, History::name, nanoseconds);
    };
    note("add", eachOf(plan.size, [&] { history->push(++value); }));
    note("undo", eachOf(plan.size, [&] { history->undo(); }));
    note("redo", eachOf(plan.size, [&] { history->redo(); }));
    note("destroy", nanosecondsOf([&] { history.reset(); }) / static_cast<double>(plan.size));
}

// In steady state: the limit is reached before the clock starts.
template <typename History>
void measureLimited(const Plan& plan, Results& results)
{
    History history(plan.setting);
    int value = 0;
    const auto push = [&]
    {
        history.push(++value);
    };
    eachOf(2 * plan.setting.limit, push);
    results.add("add" + plan.title, History::name, eachOf(plan.size, push));
}

using Measure = void (*)(const Plan&, Results&);

template <typename History>
Measure measureOf(const Plan& plan)
{
    return plan.setting.limit != 0 ? measureLimited<History> : measureHistory<History>;
}

void measure(const Plan& plan, Results& results)
{
    const std::vector<Measure> measures{
        measureOf<ValdaneHistory>(plan),
        measureOf<QtHistory>(plan),
        measureOf<BareHistory>(plan),
#ifdef VALDANE_BENCHMARKS_WX
        measureOf<WxHistory>(plan),
#endif
    };
    for (std::size_t repetition = 0; repetition < plan.repetitions; ++repetition)
    {
        // None always finds the heap as the same other one leaves it.
        for (std::size_t turn = 0; turn < measures.size(); ++turn)
        {
            measures[(repetition + turn) % measures.size()](plan, results);
        }
    }
}

Results measureAll()
{
    const Setting everySignal{.listensToEverySignal = true};
    Results results;
    measure({.title = ", 1,000 commands", .setting = {}, .size = 1000, .repetitions = 501}, results);
    measure({.title = ", 1,000 commands, no listener",
             .setting = {.listeners = 0},
             .size = 1000,
             .repetitions = 501},
            results);
    measure({.title = ", 1,000 commands, a listener on every signal",
             .setting = everySignal,
             .size = 1000,
             .repetitions = 501},
            results);
    measure({.title = ", limit of 25", .setting = {.limit = 25}, .size = 1000, .repetitions = 501}, results);
    measure({.title = ", 1,000,000 commands", .setting = {}, .size = 1000000, .repetitions = 7}, results);
    return results;
}

} // namespace
} // namespace Valdane::Benchmarks

int main(int argc, char** argv)
{
    const Valdane::Benchmarks::SecondThread thread;
    const Valdane::Benchmarks::Results results = Valdane::Benchmarks::measureAll();
    results.print(std::cout);
    if (argc == 2)
    {
        std::ofstream file(argv[1]);
        results.write(file);
    }
    return 0;
}
