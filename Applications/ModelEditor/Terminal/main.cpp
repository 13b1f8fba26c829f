#include "Applications/ModelEditor/Document/LoadedModel.h"
#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Terminal/ArgumentLines.h"
#include "Applications/ModelEditor/Terminal/Colour.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Applications/ModelEditor/Terminal/Options.h"
#include "Applications/ModelEditor/Terminal/Pager.h"
#include "Applications/ModelEditor/Terminal/Session.h"
#include "Applications/ModelEditor/Terminal/StreamLines.h"
#include "Applications/ModelEditor/Terminal/TerminalLines.h"
#include "Applications/ModelEditor/Terminal/VisibleOutput.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <clocale>
#include <csignal>
#include <exception>
#include <iostream>
#include <memory>
#include <mutex>
#include <ostream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{

using ModelEditor::Options;

constexpr int success = 0;
constexpr int failure = 1;
constexpr int wrongUsage = 2;

// Log lines name what is in the model, like all else that is printed.
class VisibleSink : public spdlog::sinks::base_sink<std::mutex>
{
protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        std::cerr << ModelEditor::visible({line.data(), line.size()});
    }

    void flush_() override {}
};

// The framework's log goes to standard error, without times: sessions can be compared.
void setUpLog(const Options& options)
{
    const auto sink = std::make_shared<VisibleSink>();
    sink->set_pattern("%l: %v");
    const auto level = options.logLevel ? spdlog::level::from_str(*options.logLevel) : spdlog::level::off;
    spdlog::apply_all(
        [&](const std::shared_ptr<spdlog::logger>& logger)
        {
            logger->sinks() = {sink};
            logger->set_level(level);
        });
}

bool isTypedByAPerson(const Options& options)
{
    return options.commands.empty() && !options.script && isatty(STDIN_FILENO) != 0;
}

// What a person who starts needs to know.
void greet(const std::vector<ModelEditor::LoadedModel>& models, std::ostream& out)
{
    for (const auto& [path, model, state, size] : models)
    {
        out << path << ": " << ModelEditor::plural(size, "byte") << ", "
            << ModelEditor::plural(model->getSize(), "element") << '\n';
    }
    out << "Type help to see what can be done.\n" << std::flush;
}

bool play(std::vector<ModelEditor::LoadedModel> models, const Options& options, std::ostream& out,
          std::ostream& err)
{
    ModelEditor::Pager pager(std::cout);
    const bool hasCommands = !options.commands.empty();
    const bool readsInput = !hasCommands && (!options.script || options.script == "-");
    const std::string scriptName = readsInput ? "<stdin>" : options.script.value_or("");
    const ModelEditor::Session::Settings settings{
        .savePath = options.output.value_or(""),
        .sourceName = hasCommands ? "-e" : scriptName,
        .isInteractive = isTypedByAPerson(options),
        .echoes = options.script.has_value(),
        .keepsGoing = options.keepsGoing,
        .pager = &pager,
        .journals = options.keepsJournal && isTypedByAPerson(options) ? ModelEditor::FileJournal::findFolder()
                                                                      : std::filesystem::path(),
        .keepsHistory = options.keepsHistory};
    std::istringstream script(options.script && !readsInput ? ModelEditor::readStream(*options.script)
                                                            : std::string());
    std::unique_ptr<ModelEditor::LineSource> lines;
    if (hasCommands)
    {
        lines = std::make_unique<ModelEditor::ArgumentLines>(options.commands);
    }
    else if (settings.isInteractive)
    {
        greet(models, out);
        lines = std::make_unique<ModelEditor::TerminalLines>(
            ModelEditor::LineHistory(ModelEditor::LineHistory::findPath()));
    }
    else
    {
        std::istream& stream = readsInput ? std::cin : script;
        lines = std::make_unique<ModelEditor::StreamLines>(stream);
    }
    return ModelEditor::Session(std::move(models), settings, out, err).run(*lines);
}

int run(const Options& options, std::ostream& out, std::ostream& err)
{
    if (options.wantsHelp)
    {
        out << Options::help << ModelEditor::Editor::getHelp();
    }
    else if (options.wantsVersion)
    {
        out << "model-editor " MODEL_EDITOR_VERSION "\n";
    }
    else
    {
        setUpLog(options);
        std::vector<ModelEditor::LoadedModel> models;
        for (const auto& path : options.models)
        {
            models.push_back(ModelEditor::openModel(path, err));
            models.back().model->setPrefixes(options.namespaces);
        }
        if (options.output)
        {
            ModelEditor::removeTemporaries(*options.output);
        }
        if (!play(std::move(models), options, out, err))
        {
            return failure;
        }
    }
    if (!out.flush())
    {
        throw Valdane::VdException("standard output cannot be written");
    }
    return success;
}

int complain(const std::exception& exception, int status)
{
    std::cerr << "model-editor: " << ModelEditor::visible(exception.what()) << '\n';
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    // The terminal's characters, not its numbers.
    std::setlocale(LC_CTYPE, "");
    // A file that grows too large and a pipe that nobody reads any more are errors of the write, not the end of the process:
    // a script still saves its model.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    Options options;
    try
    {
        options = Options::parse(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
    }
    catch (const std::exception& exception)
    {
        complain(exception, wrongUsage);
        std::cerr << "Try: model-editor --help\n";
        return wrongUsage;
    }
    try
    {
        const bool isTyped = isTypedByAPerson(options);
        ModelEditor::VisibleOutput out(std::cout, isTyped && ModelEditor::wantsColours(STDOUT_FILENO));
        ModelEditor::VisibleOutput err(std::cerr, isTyped && ModelEditor::wantsColours(STDERR_FILENO));
        return run(options, out, err);
    }
    catch (const std::exception& exception)
    {
        return complain(exception, failure);
    }
}
