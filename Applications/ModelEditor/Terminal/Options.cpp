#include "Applications/ModelEditor/Terminal/Options.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <cstddef>

namespace ModelEditor
{

namespace
{

using Valdane::VdException;

class Parser
{
public:
    explicit Parser(const std::vector<std::string>& given) : arguments(given) {}

    Options parse()
    {
        while (position < arguments.size())
        {
            const std::string& argument = arguments[position++];
            if (!onlyModel && argument == "--")
            {
                onlyModel = true;
            }
            else if (!onlyModel && argument.size() > 1 && argument.starts_with('-'))
            {
                parseOption(argument);
            }
            else
            {
                options.models.push_back(argument);
            }
        }
        if (options.models.empty() && !options.wantsHelp && !options.wantsVersion)
        {
            throw VdException("which MODEL?");
        }
        if (options.script && !options.commands.empty())
        {
            throw VdException("either -e or --script, not both");
        }
        if (options.output && options.models.size() > 1)
        {
            throw VdException("--output is for one MODEL");
        }
        return options;
    }

private:
    void parseOption(const std::string& argument)
    {
        const std::string name = argument.substr(0, argument.find('='));
        if (argument == "-e")
        {
            takeCommand(takeValue(argument, argument));
        }
        else if (name == "--namespace")
        {
            takeNamespace(takeValue(argument, name));
        }
        else if (std::optional<std::string>* const value = valueOf(name))
        {
            *value = takeValue(argument, name);
            if (name == "--log-level" && **value != "trace" && **value != "error")
            {
                throw VdException("--log-level is trace or error, not '" + **value + "'");
            }
        }
        else if (argument == "--no-journal")
        {
            options.keepsJournal = false;
        }
        else if (bool* const flag = flagOf(argument))
        {
            *flag = true;
        }
        else
        {
            throw VdException("no option " + argument);
        }
    }

    std::optional<std::string>* valueOf(std::string_view name)
    {
        if (name == "--script")
        {
            return &options.script;
        }
        if (name == "--output")
        {
            return &options.output;
        }
        return name == "--log-level" ? &options.logLevel : nullptr;
    }

    bool* flagOf(std::string_view name)
    {
        if (name == "--keep-going")
        {
            return &options.keepsGoing;
        }
        if (name == "--keep-history")
        {
            return &options.keepsHistory;
        }
        if (name == "--help" || name == "-h")
        {
            return &options.wantsHelp;
        }
        return name == "--version" ? &options.wantsVersion : nullptr;
    }

    std::string takeValue(const std::string& argument, const std::string& name)
    {
        std::string value;
        if (argument.size() > name.size())
        {
            value = argument.substr(name.size() + 1);
        }
        else if (position < arguments.size())
        {
            value = arguments[position++];
        }
        if (value.empty())
        {
            throw VdException(name + " wants a value");
        }
        return value;
    }

    void takeCommand(const std::string& command)
    {
        if (command.find('\n') != std::string::npos)
        {
            throw VdException("-e wants one line; write another -e for the next one");
        }
        options.commands.push_back(command);
    }

    void takeNamespace(const std::string& binding)
    {
        const auto end = std::min(binding.find('='), binding.size());
        const auto prefix = binding.substr(0, end);
        const auto uri = binding.substr(std::min(end + 1, binding.size()));
        const bool hasBothQuotes = uri.find('\'') != std::string::npos && uri.find('"') != std::string::npos;
        if (!isPrefix(prefix) || uri.empty() || hasBothQuotes)
        {
            throw VdException("--namespace is PREFIX=URI, not '" + binding + "'");
        }
        if (!options.namespaces.emplace(prefix, uri).second)
        {
            throw VdException("--namespace tells of " + prefix + " twice");
        }
    }

    const std::vector<std::string>& arguments;
    std::size_t position = 0;
    bool onlyModel = false;
    Options options;
};

} // namespace

const std::string_view Options::help = R"(Edits XML models, with undo.

  model-editor MODEL... [-e COMMAND]... [--script FILE] [--output FILE]
               [--namespace PREFIX=URI]... [--log-level trace|error]
               [--keep-going] [--no-journal] [--keep-history]
  model-editor --help | --version

Commands come from the command line (-e), from FILE, or from standard input:
typed at a terminal with line editing, or as a script.

  -e COMMAND        run COMMAND; may be repeated; not with --script
  --script FILE     play the commands of FILE, showing each one; - is standard
                    input
  --output FILE     where `save` writes; without it, MODEL itself; not with
                    several
  --namespace P=U   have P in addresses mean the namespace U, for instance
                    --namespace m=http://maven.apache.org/POM/4.0.0
                    to find //m:dependency/m:version; may be repeated
  --log-level L     log lines on standard error: failures (error), or also every
                    step (trace)
  --keep-going      do not stop a script at a line that fails
  --no-journal      do not keep what is typed and not saved, see below
  --keep-history    at a terminal: bring the steps of the last session back, so
                    that they can be undone, and keep those of this one

Nothing is written but by the commands save, export, diff and stop. A script,
and so -e, stops at the first line that fails and then writes nothing: what it
saves is written when it has run to its end. With --keep-going it is written at
once. Who ends with unsaved changes is asked at a terminal; a script is warned.

A file that is saved keeps its owner, permissions, access control list and
extended attributes, and a symbolic link stays one. The new content takes the
place of the old one whole. A file that cannot keep all that is written in
place, and this is told: one that has other names, for instance. A read-only
file is written after a question at a terminal, in a script by save!.

What is done at a terminal and not saved is kept in a journal. If the program
dies, it offers to bring that back when MODEL is opened again. A group or a
recording is kept when it ends.

At a terminal there are colours, unless the variable NO_COLOR is set, and what
is longer than the screen is shown by the program that PAGER names (less).

What is printed shows control characters and marks of direction as escapes, such
as \x1b and \u202e; files have them as they are.
The exit status is 0 if all went well, 1 if something failed, 2 if the command
line is wrong.

)";

Options Options::parse(const std::vector<std::string>& arguments)
{
    return Parser(arguments).parse();
}

} // namespace ModelEditor
