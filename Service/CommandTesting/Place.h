#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Valdane
{

/// Where a trial has found something: a call in a step.
struct Place
{
    std::string step = {};  ///< such as "in execute()" or "on a worker"
    std::string what = {};  ///< such as "at isAborted()"; empty: the whole step
    std::uint64_t call = 0; ///< which call of it, from 1; 0: there are no others
    bool throwsInt = false; ///< whether the call throws an int, and not a std::exception

    bool operator==(const Place& other) const = default;

    /// All of @p places: a line for each step, several calls of the same as one.
    ///
    ///     on a worker before the run, at isAborted() (calls 1 to 3) and after the run,
    ///     and in synchronous mode before the run
    static std::string toText(const std::vector<Place>& places);
};

} // namespace Valdane
