#include "Examples/ModelEditor/TerminalLines.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <histedit.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

namespace ModelEditor
{

namespace
{

constexpr int historySize = 1000;

// A function without captures is all that libedit takes.
char* getPrompt(EditLine* editLine)
{
    void* prompt = nullptr;
    el_get(editLine, EL_CLIENTDATA, &prompt);
    return static_cast<std::string*>(prompt)->data();
}

} // namespace

// The interrupt key is a key like others while a line is typed; otherwise it does nothing, because it would drop
// the changes that are not saved.
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
        el_set(editLine.get(), EL_CLIENTDATA, &prompt);
        el_set(editLine.get(), EL_PROMPT, &getPrompt);
        el_set(editLine.get(), EL_EDITOR, "emacs");
        el_set(editLine.get(), EL_HIST, &::history, history.get());
        el_set(editLine.get(), EL_SIGNAL, 1);
        el_set(editLine.get(), EL_SETTY, "-d", "intr=", nullptr);
        el_set(editLine.get(), EL_BIND, "^C", "em-kill-line", nullptr);
        previousHandler = std::signal(SIGINT, SIG_IGN);
    }

    Editing(const Editing&) = delete;
    Editing& operator=(const Editing&) = delete;

    ~Editing()
    {
        std::signal(SIGINT, previousHandler);
    }

    std::optional<std::string> next(const std::string& text)
    {
        prompt = text;
        // Before the prompt is seen: a key struck at the prompt must not meet the terminal's own line editing, which
        // would swallow the end key.
        el_set(editLine.get(), EL_PREP_TERM, 1);
        int length = 0;
        const char* typed = el_gets(editLine.get(), &length);
        if (typed == nullptr || length <= 0)
        {
            std::fputs("\n", stdout);
            return {};
        }
        return remember({typed, static_cast<std::size_t>(length)});
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

    std::string prompt;
    std::unique_ptr<EditLine, EndEditLine> editLine;
    std::unique_ptr<History, EndHistory> history;
    void (*previousHandler)(int) = nullptr;
};

TerminalLines::TerminalLines() : editing(std::make_unique<Editing>()) {}

TerminalLines::~TerminalLines() = default;

std::optional<std::string> TerminalLines::next(const std::string& prompt)
{
    return editing->next(prompt);
}

} // namespace ModelEditor
