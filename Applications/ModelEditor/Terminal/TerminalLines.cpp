#include "Applications/ModelEditor/Terminal/TerminalLines.h"

#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Terminal/Background.h"
#include "Applications/ModelEditor/Terminal/Colour.h"
#include "Applications/ModelEditor/Terminal/Keys.h"
#include "Applications/ModelEditor/Terminal/WakeUp.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <histedit.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <poll.h>
#include <string>
#include <string_view>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace ModelEditor
{

namespace
{

constexpr int historySize = LineHistory::most;

constexpr wchar_t interruptKey = 3;
constexpr wchar_t completeKey = L'\t';
constexpr wchar_t redisplayKey = 31;
constexpr wchar_t quoteKey = 22;
constexpr wchar_t deleteKey = 127;
constexpr std::wstring_view pasteStart = L"\033[200~";

// How long the prompt that shows what is under way may be out of date.
constexpr std::chrono::milliseconds refreshInterval(200);

} // namespace

// The interrupt key is a key like others while a line is typed; otherwise it does nothing, because it would
// drop the changes that are not saved.
class TerminalLines::Editing
{
public:
    explicit Editing(LineHistory earlier)
        : lineHistory(std::move(earlier)),
          editLine(el_init("model-editor", stdin, stdout, stderr)),
          history(history_init())
    {
        if (editLine == nullptr || history == nullptr)
        {
            throw Valdane::VdException("the terminal cannot be used");
        }
        HistEvent event{};
        ::history(history.get(), &event, H_SETSIZE, historySize);
        tryHistory(
            [this]
            {
                for (const auto& line : lineHistory.read())
                {
                    enter(line);
                }
            });
        el_set(editLine.get(), EL_CLIENTDATA, this);
        el_set(editLine.get(), EL_PROMPT_ESC, &givePrompt, invisibleMark);
        el_set(editLine.get(), EL_GETCFN, &giveKey);
        el_set(editLine.get(), EL_EDITOR, "emacs");
        el_set(editLine.get(), EL_HIST, &::history, history.get());
        el_set(editLine.get(), EL_SIGNAL, 1);
        el_set(editLine.get(), EL_BIND, "^C", "em-kill-line", nullptr);
        el_set(editLine.get(), EL_BIND, "^_", "ed-redisplay", nullptr);
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
            markPastes(true);
            typed = el_gets(editLine.get(), &length);
            markPastes(false);
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
        const auto text =
            editing.isBackgroundUnderWay() ? editing.background->getPrompt() : editing.ownPrompt;
        editing.shownPrompt = wantsColours(STDOUT_FILENO) ? paintedPrompt(text) : text;
        return editing.shownPrompt.data();
    }

    static int giveKey(EditLine* editLine, wchar_t* key)
    {
        return of(editLine).readKey(*key);
    }

    // Types what is sure, or lists what it may be.
    void complete()
    {
        const LineInfo* const line = el_line(editLine.get());
        const std::string_view typed(line->buffer, static_cast<std::size_t>(line->cursor - line->buffer));
        const auto completion = background->complete(typed);
        const std::string word(typed.substr(completion.start));
        const auto whole = completion.common + completion.ending;
        if (completion.count == 0 || (completion.count == 1 && whole == word))
        {
            std::fputs("\a", stdout);
        }
        else if (!completion.common.empty() && whole != word)
        {
            const bool goesOn = whole.starts_with(word);
            keys += std::wstring(goesOn ? 0 : wide(word).size(), deleteKey);
            keys += keysOf(wide(goesOn ? whole.substr(word.size()) : whole));
        }
        else
        {
            std::fputs(("\n" + listOf(completion)).c_str(), stdout);
            keys += redisplayKey;
        }
        std::fflush(stdout);
    }

    // Up to the end of what was pasted. A control character in it is text, and not a key.
    void readPaste()
    {
        constexpr std::wstring_view end = L"\033[201~";
        std::wstring text;
        wchar_t character = 0;
        while (!text.ends_with(end) && readCharacter(character) > 0)
        {
            text += character;
        }
        text.resize(text.size() - (text.ends_with(end) ? end.size() : 0));
        keys += keysOf(text);
    }

    bool isBackgroundUnderWay() const
    {
        return background != nullptr && background->isUnderWay();
    }

    // The next character; 0 ends the line, and -1 is a failure.
    int readKey(wchar_t& key)
    {
        while (keys.empty())
        {
            if (!waitForKey())
            {
                return 0;
            }
            const int count = readCharacter(key);
            // The end key is a key like others here, so there is nothing to read only when nobody is there any more.
            isGone = count <= 0;
            if (count <= 0)
            {
                return count;
            }
            take(key);
        }
        key = keys.front();
        keys.erase(0, 1);
        isQuoted = key == quoteKey && !isQuoted;
        return 1;
    }

    // What is meant for us, and what for the library. The start of a paste may come in parts.
    void take(wchar_t key)
    {
        if (key == pasteStart[matched])
        {
            if (++matched == pasteStart.size())
            {
                matched = 0;
                readPaste();
            }
            return;
        }
        keys += pasteStart.substr(0, std::exchange(matched, 0));
        if (key == interruptKey && isBackgroundUnderWay())
        {
            background->interrupt();
        }
        else if (key == completeKey && keys.empty() && !isQuoted && background != nullptr)
        {
            complete();
        }
        else
        {
            keys += key;
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
        while (line.ends_with('\n') || line.ends_with('\r'))
        {
            line.pop_back();
        }
        if (line.find_first_not_of(" \t\r\n") != std::string::npos)
        {
            enter(line);
            tryHistory([&] { lineHistory.add(line); });
        }
        return line;
    }

    void enter(const std::string& line)
    {
        HistEvent event{};
        ::history(history.get(), &event, H_ENTER, line.c_str());
    }

    // Who edits a model is not kept from it by another file.
    template <typename Work>
    void tryHistory(const Work& work)
    {
        try
        {
            work();
        }
        catch (const std::exception& exception)
        {
            std::cerr << "lines of this session are not kept: " << visible(exception.what()) << '\n';
            lineHistory = LineHistory("");
        }
    }

    LineHistory lineHistory;
    std::string ownPrompt;
    std::string shownPrompt;
    std::unique_ptr<EditLine, EndEditLine> editLine;
    std::unique_ptr<History, EndHistory> history;
    Background* background = nullptr;
    bool mustGiveWay = false;
    bool isGone = false;
    std::string typedSoFar;
    // What the library is to take as if it were typed.
    std::wstring keys;
    // How much of the start of a paste was read.
    std::size_t matched = 0;
    // Whether the last key takes the meaning from the next one.
    bool isQuoted = false;
    std::chrono::steady_clock::time_point nextRefresh;
    void (*previousHandler)(int) = nullptr;
};

TerminalLines::TerminalLines(LineHistory earlier) : editing(std::make_unique<Editing>(std::move(earlier))) {}

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
