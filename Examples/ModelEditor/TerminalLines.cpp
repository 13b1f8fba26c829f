#include "Examples/ModelEditor/TerminalLines.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <histedit.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>

namespace ModelEditor
{

namespace
{

constexpr int historySize = 1000;

char* prompt(EditLine* /*editLine*/)
{
    static std::array<char, 8> text{"model> "};
    return text.data();
}

// Does nothing: the signal only has to end the read.
void onInterrupt(int /*signal*/) {}

} // namespace

// The interrupt handler is in force as long as this object lives.
class TerminalLines::Editing
{
public:
    Editing() : editLine(el_init("model-editor", stdin, stdout, stderr)), history(history_init())
    {
        if (editLine == nullptr || history == nullptr)
        {
            throw Valdane::VdException("the terminal cannot be used");
        }
        HistEvent event{};
        ::history(history.get(), &event, H_SETSIZE, historySize);
        el_set(editLine.get(), EL_PROMPT, &prompt);
        el_set(editLine.get(), EL_EDITOR, "emacs");
        el_set(editLine.get(), EL_HIST, &::history, history.get());
        struct sigaction action = {};
        action.sa_handler = &onInterrupt;
        sigaction(SIGINT, &action, &previousAction);
    }

    Editing(const Editing&) = delete;
    Editing& operator=(const Editing&) = delete;

    ~Editing()
    {
        sigaction(SIGINT, &previousAction, nullptr);
    }

    std::optional<std::string> next()
    {
        while (true)
        {
            int length = 0;
            errno = 0;
            const char* typed = el_gets(editLine.get(), &length);
            if (typed != nullptr && length > 0)
            {
                return remember({typed, static_cast<std::size_t>(length)});
            }
            if (errno != EINTR)
            {
                std::fputs("\n", stdout);
                return {};
            }
            std::fputs("\n", stdout);
            el_reset(editLine.get());
        }
    }

private:
    struct EndEditLine
    {
        void operator()(EditLine* ended) const noexcept
        {
            el_end(ended);
        }
    };

    struct EndHistory
    {
        void operator()(History* ended) const noexcept
        {
            history_end(ended);
        }
    };

    std::string remember(std::string line)
    {
        if (line.find_first_not_of(" \t\r\n") != std::string::npos)
        {
            HistEvent event{};
            ::history(history.get(), &event, H_ENTER, line.c_str());
        }
        while (line.ends_with('\n') || line.ends_with('\r'))
        {
            line.pop_back();
        }
        return line;
    }

    std::unique_ptr<EditLine, EndEditLine> editLine;
    std::unique_ptr<History, EndHistory> history;
    struct sigaction previousAction = {};
};

TerminalLines::TerminalLines() : editing(std::make_unique<Editing>()) {}

TerminalLines::~TerminalLines() = default;

std::optional<std::string> TerminalLines::next()
{
    return editing->next();
}

} // namespace ModelEditor
