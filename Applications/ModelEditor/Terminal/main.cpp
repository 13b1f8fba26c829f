#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Applications/ModelEditor/Terminal/Options.h"
#include "Applications/ModelEditor/Terminal/Session.h"
#include "Applications/ModelEditor/Terminal/StreamLines.h"
#include "Applications/ModelEditor/Terminal/TerminalLines.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <clocale>
#include <csignal>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

using ModelEditor::Options;

constexpr int success = 0;
constexpr int failure = 1;
constexpr int wrongUsage = 2;

// The framework's log goes to standard error, without times: sessions can be compared.
void setUpLog(const Options& options)
{
    const auto sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
    sink->set_pattern("%l: %v");
    const auto level = options.logLevel ? spdlog::level::from_str(*options.logLevel) : spdlog::level::off;
    spdlog::apply_all(
        [&](const std::shared_ptr<spdlog::logger>& logger)
        {
            logger->sinks() = {sink};
            logger->set_level(level);
        });
}

std::string readModel(const std::string& path)
{
    try
    {
        return ModelEditor::readFile(path);
    }
    catch (const std::bad_alloc&)
    {
        throw Valdane::VdException(path + ": not enough memory");
    }
}

std::unique_ptr<ModelEditor::XmlModel> openModel(const std::string& path)
{
    const std::string bytes = readModel(path);
    try
    {
        return std::make_unique<ModelEditor::XmlModel>(bytes, path);
    }
    catch (const std::bad_alloc&)
    {
        throw Valdane::VdException(path + ": not enough memory for a model of " +
                                   std::to_string(bytes.size()) + " bytes");
    }
}

bool play(ModelEditor::XmlModel& model, const Options& options)
{
    const ModelEditor::Session::Settings settings{.savePath = options.output.value_or(options.model),
                                                  .sourceName = options.script.value_or("<stdin>"),
                                                  .isInteractive =
                                                      !options.script && isatty(STDIN_FILENO) != 0,
                                                  .echoes = options.script.has_value(),
                                                  .keepsGoing = options.keepsGoing};
    std::istringstream script(options.script ? ModelEditor::readFile(*options.script) : std::string());
    std::unique_ptr<ModelEditor::LineSource> lines;
    if (settings.isInteractive)
    {
        lines = std::make_unique<ModelEditor::TerminalLines>();
    }
    else
    {
        std::istream& stream = options.script ? script : std::cin;
        lines = std::make_unique<ModelEditor::StreamLines>(stream);
    }
    return ModelEditor::Session(model, settings, std::cout, std::cerr).run(*lines);
}

int run(const Options& options)
{
    if (options.wantsHelp)
    {
        std::cout << Options::help << ModelEditor::Editor::getHelp();
    }
    else if (options.wantsVersion)
    {
        std::cout << "model-editor " MODEL_EDITOR_VERSION "\n";
    }
    else
    {
        setUpLog(options);
        const auto model = openModel(options.model);
        ModelEditor::removeTemporaries(options.model);
        ModelEditor::removeTemporaries(options.output.value_or(options.model));
        if (!play(*model, options))
        {
            return failure;
        }
    }
    if (!std::cout.flush())
    {
        throw Valdane::VdException("standard output cannot be written");
    }
    return success;
}

int complain(const std::exception& exception, int status)
{
    std::cerr << "model-editor: " << exception.what() << '\n';
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    // The terminal's characters, not its numbers.
    std::setlocale(LC_CTYPE, "");
    // A file that grows too large is an error of the write, not the end of the process.
    std::signal(SIGXFSZ, SIG_IGN);
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
        return run(options);
    }
    catch (const std::exception& exception)
    {
        return complain(exception, failure);
    }
}
