#pragma once

#include <exception>

namespace Valdane
{

/// Keeps the first exception of several calls, so that all of them are made even if one throws.
class FirstException
{
public:
    template <typename Call>
    void attempt(const Call& call)
    {
        try
        {
            call();
        }
        catch (...)
        {
            first = first == nullptr ? std::current_exception() : first;
        }
    }

    /// @throws what the first call threw that threw anything.
    void rethrow() const
    {
        if (first != nullptr)
        {
            std::rethrow_exception(first);
        }
    }

private:
    std::exception_ptr first;
};

} // namespace Valdane
