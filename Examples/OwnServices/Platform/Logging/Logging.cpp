#include "Platform/Logging/Logging.h"

#include "Workshop/Journal.h"

namespace Valdane
{

using Workshop::Journal;

Logging::Logging(const std::string& sourceFile) : source(sourceFile.substr(sourceFile.rfind('/') + 1))
{
    Journal::get();
}

void Logging::logTRACE(const std::string& text, const char* /*file*/, const char* /*function*/,
                       int /*line*/) const
{
    if (isTraceEnabled())
    {
        Journal::get().write("detail, " + source + ": " + text);
    }
}

void Logging::logERROR(const std::string& text, const char* /*file*/, const char* /*function*/,
                       int /*line*/) const
{
    Journal::get().write("ERROR, " + source + ": " + text);
}

bool Logging::isTraceEnabled() const
{
    return Journal::get().isDetailed();
}

} // namespace Valdane
