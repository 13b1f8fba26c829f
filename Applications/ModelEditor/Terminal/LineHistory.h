#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ModelEditor
{

/// The lines that were typed in earlier sessions, in a file that several sessions may use at once.
///
/// Only the user can read the file. It keeps the last lines; the oldest go when it has twice as many.
///
/// Thread: one at a time; processes wait for each other.
class LineHistory
{
public:
    /// How many lines are kept for the next session.
    static constexpr std::size_t most = 1000;

    /// @param file  its folders are made when the first line is added. An empty path keeps nothing.
    explicit LineHistory(std::string file);

    /// The last lines, the oldest first; none if there is no file yet.
    ///
    /// @throws VdException `<file>: <why>` if it cannot be read.
    std::vector<std::string> read() const;

    /// Puts @p line on the end of the file. @param line  without a line end (not checked).
    ///
    /// @throws VdException `<file>: <why>` if it cannot be written.
    void add(std::string_view line) const;

    /// Where the file of this user is: `model-editor/lines` in `$XDG_STATE_HOME`, or in `.local/state` of the home
    /// directory. Empty if neither is known.
    static std::string findPath();

private:
    std::string path;
};

} // namespace ModelEditor
