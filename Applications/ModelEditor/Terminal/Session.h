#pragma once

#include "Applications/ModelEditor/Document/KnownFiles.h"
#include "Applications/ModelEditor/Document/LoadedModel.h"
#include "Applications/ModelEditor/Terminal/Background.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Applications/ModelEditor/Terminal/OpenFiles.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace ModelEditor
{

class LineSource;
class Pager;

/// Plays the lines of a source on models, and says where and why one fails. Each line concerns the current one, until a
/// line makes another one current.
///
/// Ownership: owns the models; refers to the streams, which must live longer. Thread: the application's main thread
/// only.
class Session : private Background
{
public:
    struct Settings
    {
        std::string savePath;       ///< where `save` writes the first model; empty for its own file
        std::string sourceName;     ///< what messages call the source
        bool isInteractive = false; ///< go on after a failure; ask before dropping changes
        bool echoes = false;        ///< print every line before its output
        bool keepsGoing = false;    ///< go on after a failure, and write what is saved at once
        Pager* pager = nullptr;     ///< shows what is long to a person who types, if it is there
        std::filesystem::path
            journals{}; ///< the folder for what is not saved of the files; empty: it is not kept
        bool keepsHistory =
            false; ///< bring the history of the session before back, and keep that of this one
    };

    /// @param edited  at least one (not checked). The first is current; what is there twice is opened once.
    Session(std::vector<LoadedModel> edited, Settings chosen, std::ostream& results, std::ostream& errors);

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
        std::uint64_t file; // its number
        Output output;
    };

    const WakeUp& getWakeUp() const override;
    bool isUnderWay() const override;
    std::string getPrompt() const override;
    bool goOn() override;
    void conclude() override;
    Completion complete(std::string_view line) const override;
    void interrupt() override;

    Editor& getEditor() const;
    bool runLine(const std::string& line);
    void runInterruptibly(const std::string& line);
    std::string getLinePrompt() const;
    void tryToCarryOut(const FileRequest& request);
    void carryOut(const FileRequest& request);
    void add(LoadedModel opened, const std::string& savePath);
    std::unique_ptr<Editor> makeEditor(OpenFile& file, XmlModel& model);
    void open(const std::string& path);
    void list();
    void close();
    void reload();
    void saveAll();
    void keepJournal(OpenFile& file);
    bool recoverOrStart(OpenFile& file, FileJournal& journal);
    void recover(OpenFile& file, FileJournal& journal, const std::string& steps);
    void writeJournals() const;
    void closeJournal(OpenFile& file) const;
    void warn(const std::string& what);
    void tellCurrent();
    std::string getNameForMessages() const;
    bool waitForRun();
    bool finish();
    bool mayEnd();
    void accept(OpenFile& file, Output output);
    void requireAllowed(const Output& output);
    void requireNoOther(const OpenFile& file, const std::string& path) const;
    void requireWritten(const std::function<bool(const PendingOutput&)>& concerns) const;
    bool agreesTo(const std::string& question);
    bool writePending();
    bool write(const Output& output);
    void report(std::size_t line, const std::string& what);

    Settings settings;
    std::ostream& out;
    std::ostream& err;
    std::shared_ptr<HistoryActions> actions = std::make_shared<HistoryActions>();
    OpenFiles files;
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
