#include "Applications/ModelEditor/Terminal/TerminalLines.h"

#include "Applications/ModelEditor/Terminal/Background.h"
#include "Applications/ModelEditor/Terminal/WakeUp.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <histedit.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cwchar>
#include <memory>
#include <poll.h>
#include <string>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace ModelEditor
{

namespace
{

constexpr int historySize = 1000;

// How long the prompt that shows what is under way may be out of date.
constexpr std::chrono::milliseconds refreshInterval(200);

} // namespace

// The interrupt key is a key like others while a line is typed; otherwise it does nothing, because it would
// drop the changes that are not saved.
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
        el_set(editLine.get(), EL_CLIENTDATA, this);
        el_set(editLine.get(), EL_PROMPT, &givePrompt);
        el_set(editLine.get(), EL_GETCFN, &giveKey);
        el_set(editLine.get(), EL_EDITOR, "emacs");
        el_set(editLine.get(), EL_HIST, &::history, history.get());
        el_set(editLine.get(), EL_SIGNAL, 1);
        el_set(editLine.get(), EL_BIND, "^C", "em-kill-line", nullptr);
        previousHandler = std::signal(SIGINT, SIG_IGN);
    }

    Editing(const Editing&) = delete;
    Editing& operator=(const Editing&) = delete;

    ~Editing()
    {
        std::signal(SIGINT, previousHandler);
    }

    void serve(Background& served)
    {
        background = &served;
    }

    std::optional<std::string> next(const std::string& text)
    {
        ownPrompt = text;
        int length = 0;
        const char* typed = nullptr;
        do
        {
            giveWay();
            takeSingleKeys();
            typed = el_gets(editLine.get(), &length);
        } while (mustGiveWay);
        if (isGone)
        {
            throw Valdane::VdException("the terminal is gone");
        }
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

    // Functions without captures are all that libedit takes.
    static Editing& of(EditLine* editLine)
    {
        void* data = nullptr;
        el_get(editLine, EL_CLIENTDATA, &data);
        return *static_cast<Editing*>(data);
    }

    static char* givePrompt(EditLine* editLine)
    {
        auto& editing = of(editLine);
        editing.shownPrompt =
            editing.isBackgroundUnderWay() ? editing.background->getPrompt() : editing.ownPrompt;
        return editing.shownPrompt.data();
    }

    static int giveKey(EditLine* editLine, wchar_t* key)
    {
        return of(editLine).readKey(*key);
    }

    bool isBackgroundUnderWay() const
    {
        return background != nullptr && background->isUnderWay();
    }

    // The next character; 0 ends the line, and -1 is a failure.
    int readKey(wchar_t& key)
    {
        constexpr wchar_t interruptKey = 3;
        while (waitForKey())
        {
            const int count = readCharacter(key);
            // The end key is a key like others here, so there is nothing to read only when nobody is there any more.
            isGone = count <= 0;
            if (count <= 0 || key != interruptKey || !isBackgroundUnderWay())
            {
                return count;
            }
            background->interrupt();
        }
        return 0;
    }

    static int readCharacter(wchar_t& key)
    {
        constexpr auto isIncomplete = static_cast<std::size_t>(-2);
        constexpr auto isInvalid = static_cast<std::size_t>(-1);
        std::mbstate_t state{};
        char byte = 0;
        while (true)
        {
            const auto count = read(STDIN_FILENO, &byte, 1);
            if (count < 0 && errno == EINTR)
            {
                continue;
            }
            if (count <= 0)
            {
                return static_cast<int>(count);
            }
            const auto result = std::mbrtowc(&key, &byte, 1, &state);
            if (result == isInvalid)
            {
                key = static_cast<unsigned char>(byte);
            }
            if (result != isIncomplete)
            {
                return 1;
            }
        }
    }

    // False if what is under way is over, so that the line must give way to what came of it.
    bool waitForKey()
    {
        while (true)
        {
            const bool isUnderWay = isBackgroundUnderWay();
            std::array<pollfd, 2> waiting{{{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0},
                                           {.fd = isUnderWay ? background->getWakeUp().getDescriptor() : -1,
                                            .events = POLLIN,
                                            .revents = 0}}};
            const int ready = poll(waiting.data(), waiting.size(),
                                   isUnderWay ? static_cast<int>(refreshInterval.count()) : -1);
            if (waiting[1].revents != 0)
            {
                background->getWakeUp().wait();
                if (background->goOn())
                {
                    const LineInfo* const line = el_line(editLine.get());
                    typedSoFar.assign(line->buffer, line->lastchar);
                    mustGiveWay = true;
                    return false;
                }
            }
            if (isUnderWay && std::chrono::steady_clock::now() >= nextRefresh)
            {
                nextRefresh = std::chrono::steady_clock::now() + refreshInterval;
                el_set(editLine.get(), EL_REFRESH);
            }
            if (waiting[0].revents != 0 || (ready < 0 && errno != EINTR))
            {
                return true;
            }
        }
    }

    // Prints what came of what is over, and goes back to the line that was being typed.
    void giveWay()
    {
        if (!std::exchange(mustGiveWay, false))
        {
            return;
        }
        std::fputs("\n", stdout);
        std::fflush(stdout);
        background->conclude();
        el_push(editLine.get(), typedSoFar.c_str());
    }

    // Before the prompt is seen: a key struck at the prompt must not meet the terminal's own line editing,
    // which would swallow the end key and answer the interrupt key with a signal.
    void takeSingleKeys()
    {
        el_set(editLine.get(), EL_PREP_TERM, 1);
        termios terminal{};
        if (tcgetattr(STDIN_FILENO, &terminal) == 0)
        {
            terminal.c_cc[VINTR] = _POSIX_VDISABLE;
            tcsetattr(STDIN_FILENO, TCSADRAIN, &terminal);
        }
    }

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

    std::string ownPrompt;
    std::string shownPrompt;
    std::unique_ptr<EditLine, EndEditLine> editLine;
    std::unique_ptr<History, EndHistory> history;
    Background* background = nullptr;
    bool mustGiveWay = false;
    bool isGone = false;
    std::string typedSoFar;
    std::chrono::steady_clock::time_point nextRefresh;
    void (*previousHandler)(int) = nullptr;
};

TerminalLines::TerminalLines() : editing(std::make_unique<Editing>()) {}

TerminalLines::~TerminalLines() = default;

std::optional<std::string> TerminalLines::next(const std::string& prompt)
{
    return editing->next(prompt);
}

void TerminalLines::serve(Background& background)
{
    editing->serve(background);
}

} // namespace ModelEditor
