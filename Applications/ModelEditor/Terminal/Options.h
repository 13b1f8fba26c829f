#pragma once

#include "Applications/ModelEditor/Document/NamespacePrefixes.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ModelEditor
{

/// What the command line of the program says.
struct Options
{
    std::vector<std::string> models; ///< at least one, but for help and version
    std::optional<std::string> script;
    std::vector<std::string> commands; ///< of `-e`, in their order; with them there is no script
    std::optional<std::string> output;
    std::optional<std::string> logLevel; ///< `trace` or `error`
    NamespacePrefixes namespaces;        ///< for addresses
    bool keepsGoing = false;
    bool keepsJournal = true;  ///< of what is typed and not saved
    bool keepsHistory = false; ///< for the next session
    bool wantsHelp = false;
    bool wantsVersion = false;

    /// @param arguments  without the name of the program.
    /// @throws VdException if they are not what `--help` says.
    static Options parse(const std::vector<std::string>& arguments);

    /// What `--help` prints before the verbs.
    static const std::string_view help;
};

} // namespace ModelEditor
