#pragma once

#include "Applications/ModelEditor/Terminal/Colour.h"

#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string>

namespace ModelEditor
{

/// A stream that hands lines on to another one, with escapes for what a terminal would obey: see visible().
///
/// Names and values of a model, file names and lines of scripts come from anywhere.
///
/// Ownership: refers to the other stream, which must live longer. Thread: one at a time.
class VisibleOutput : public std::ostream
{
public:
    /// @param isColoured  whether paint() does anything.
    explicit VisibleOutput(std::ostream& target, bool isColoured = false);
    VisibleOutput(const VisibleOutput&) = delete;
    VisibleOutput& operator=(const VisibleOutput&) = delete;

    /// Flushes.
    ~VisibleOutput() override;

    /// Has what follows look so. It is no text: what is in a model cannot do it.
    void paint(Colour colour);

private:
    class Lines : public std::streambuf
    {
    public:
        explicit Lines(std::ostream& target);

        void paint(Colour colour);

    protected:
        int_type overflow(int_type character) override;
        std::streamsize xsputn(const char* text, std::streamsize length) override;
        int sync() override;

    private:
        void handOn(std::size_t length);

        std::ostream& out;
        std::string waiting;
    };

    Lines lines;
    bool paints;
};

} // namespace ModelEditor
