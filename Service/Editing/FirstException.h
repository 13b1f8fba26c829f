#pragma once

#include <exception>

namespace Valdane
{

/// Keeps the first exception of several calls, so that one that throws does not keep the others from being made.
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
