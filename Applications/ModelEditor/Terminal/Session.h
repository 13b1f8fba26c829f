#pragma once

#include "Applications/ModelEditor/Terminal/Background.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Applications/ModelEditor/Terminal/KnownFiles.h"
#include "Applications/ModelEditor/Terminal/LoadedModel.h"

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace ModelEditor
{

class LineSource;
class Pager;

/// Plays the lines of a source on a model, and says where and why one fails.
///
/// Ownership: owns the model; refers to the streams, which must live longer. Thread: the application's main thread
/// only.
class Session : private Background
{
public:
    struct Settings
    {
        std::string savePath;       ///< where `save` without a file writes
        std::string sourceName;     ///< what messages call the source
        bool isInteractive = false; ///< go on after a failure; ask before dropping changes
        bool echoes = false;        ///< print every line before its output
        bool keepsGoing = false;    ///< go on after a failure, and write what is saved at once
        Pager* pager = nullptr;     ///< shows what is long to a person who types, if it is there
    };

    Session(LoadedModel edited, Settings chosen, std::ostream& results, std::ostream& errors);

    /// Plays all lines up to `quit` or the end.
    ///
    /// A person who ends with unsaved modules is asked whether to drop them; a script is warned. A group or a
    /// recording that has no end when the lines are over counts as a line that fails.
    ///
    /// A line that starts work on another thread is over when that work is, and the interrupt key aborts it;
    /// but a person can type on meanwhile, and is shown how far it has come.
    ///
    /// Unless it is interactive or keeps going, it stops at the first line that fails, and what the script
    /// saves is written only after the last one.
    /// @return whether every line went well.
    bool run(LineSource& source);

private:
    struct PendingOutput
    {
        std::size_t line;
        Output output;
    };

    const WakeUp& getWakeUp() const override;
    bool isUnderWay() const override;
    std::string getPrompt() const override;
    bool goOn() override;
    void conclude() override;
    Completion complete(std::string_view line) const override;
    void interrupt() override;

    std::unique_ptr<Editor> makeEditor();
    bool runLine(const std::string& line);
    void runInterruptibly(const std::string& line);
    void tryToReload();
    void reload();
    bool waitForRun();
    bool finish();
    bool mayEnd();
    void accept(Output output);
    void requireAllowed(const Output& output);
    bool agreesTo(const std::string& question);
    bool writePending();
    void write(const Output& output);
    void report(std::size_t line, const std::string& what);

    Settings settings;
    std::ostream& out;
    std::ostream& err;
    LoadedModel loaded;
    // Of the model in turn.
    std::unique_ptr<Editor> editor;
    // The file that was loaded or saved last.
    std::string ownPath;
    KnownFiles known;
    // Only while run() is running.
    LineSource* lines = nullptr;
    std::size_t lineNumber = 0;
    // Of the line that has started what is under way.
    std::size_t runLineNumber = 0;
    bool isRunWell = true;
    std::vector<PendingOutput> pending;
};

} // namespace ModelEditor
