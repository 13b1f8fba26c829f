#pragma once

#include "Journal.h"

#include <functional>
#include <string>
#include <vector>

namespace Valdane
{

class Logging
{
public:
    /// One call with all its arguments, where the journal has only level and text.
    struct Line
    {
        std::string logger;
        std::string text;
        std::string file;
        std::string function;
        int line = 0;
    };

    explicit Logging(const std::string& sourceFile) : name(sourceFile) {}

    void logTRACE(const std::string& text, const char* file, const char* function, int line) const
    {
        write("trace: ", text, file, function, line);
    }

    void logERROR(const std::string& text, const char* file, const char* function, int line) const
    {
        write("error: ", text, file, function, line);
    }

    bool isTraceEnabled() const
    {
        return traceEnabled;
    }

    inline static bool traceEnabled = true;
    inline static std::vector<Line> lines;
    /// Called on every line before it is noted; may throw.
    inline static std::function<void(const std::string& text)> onLine;

private:
    void write(const char* level, const std::string& text, const char* file, const char* function,
               int line) const
    {
        if (onLine)
        {
            onLine(text);
        }
        note(level + text);
        lines.push_back({name, text, file, function, line});
    }

    std::string name;
};

} // namespace Valdane
