#include "Service/Editing/FailureText.h"

#include <new>

namespace Valdane
{

void setText(std::string& target, const char* text) noexcept
{
    try
    {
        target = text == nullptr ? "" : text;
    }
    catch (const std::bad_alloc&)
    {
        target.clear();
    }
}

void describe(const std::exception_ptr& exception, std::string& target) noexcept
{
    try
    {
        std::rethrow_exception(exception);
    }
    catch (const std::exception& known)
    {
        setText(target, known.what());
    }
    catch (...)
    {
        setText(target, "an exception that is not derived from std::exception");
    }
}

} // namespace Valdane
