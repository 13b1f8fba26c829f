#pragma once

#include "Applications/ModelEditor/Edits/Edits.h"
#include "Applications/ModelEditor/Terminal/Editor.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace ModelEditor
{

/// A verb of the editor: how it is written, where it is allowed, and what it does.
///
/// Thread: constant, so any.
struct Editor::Verb
{
    enum class Place
    {
        Anywhere,
        OutsideGroup,             ///< not in a group
        OutsideGroupAndRecording, ///< nor in a recording
    };

    std::string_view name;
    std::string_view arguments;
    std::size_t minimum;
    std::size_t maximum;
    std::string_view summary;
    Place place = Place::Anywhere;
    void (Editor::*run)(const Words&) = nullptr;
    std::function<Edit(XmlModel&, const Words&)> makeEdit{}; ///< of an edit, which has no run
    bool isForRuns = false;                                  ///< can be used while a thread is working
    bool isWhole = false;                                    ///< is not shortened

    static const std::vector<Verb>& getAll();

    /// The verb of that name, or the only one that begins with it. One with a `!`, and those that would
    /// take short forms from others (`u` is undo), only by their names.
    ///
    /// @throws VdException if there is none, with the one that was probably meant, or if there are several.
    static const Verb& find(const std::string& name);

    std::string getUsage() const;

    /// @throws VdException with the usage.
    void requireCount(const Words& words) const;

private:
    static std::string findSimilar(const std::string& name);
    static std::string listNames(const std::vector<const Verb*>& verbs);
};

} // namespace ModelEditor
