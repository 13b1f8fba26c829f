#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace Valdane::Benchmarks
{

/// Nanoseconds, one sample for each repetition.
using Samples = std::vector<double>;

template <typename Work>
double nanosecondsOf(const Work& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
}

/// @param part  0.5 for the median, 0.25 and 0.75 for the quartiles
inline double quantileOf(Samples samples, double part)
{
    std::ranges::sort(samples);
    return samples[static_cast<std::size_t>(part * static_cast<double>(samples.size() - 1))];
}

/// The ratios of what was measured right after one another.
inline Samples ratiosOf(const Samples& measured, const Samples& reference)
{
    Samples ratios;
    std::ranges::transform(measured, reference, std::back_inserter(ratios), std::divides<>());
    return ratios;
}

/// Writes the medians of one operation, and of the ratios the median and the quartiles.
inline void printRow(const std::string& row, const Samples& measured, const Samples& reference,
                     double operations)
{
    const Samples ratios = ratiosOf(measured, reference);
    std::cout << std::left << std::setw(44) << row << std::right << std::fixed << std::setprecision(1)
              << std::setw(8) << quantileOf(measured, 0.5) / operations << " ns against " << std::setw(8)
              << quantileOf(reference, 0.5) / operations << " ns: " << std::setprecision(2)
              << quantileOf(ratios, 0.5) << " (" << quantileOf(ratios, 0.25) << " to "
              << quantileOf(ratios, 0.75) << ")\n";
}

} // namespace Valdane::Benchmarks
