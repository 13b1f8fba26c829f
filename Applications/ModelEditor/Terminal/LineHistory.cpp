#include "Applications/ModelEditor/Terminal/LineHistory.h"

#include "Applications/ModelEditor/Document/Descriptor.h"
#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Document/StateFolder.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace ModelEditor
{

namespace
{

std::vector<std::string> splitLines(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty())
    {
        const auto end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::string joinLines(std::vector<std::string>::const_iterator first,
                      std::vector<std::string>::const_iterator end)
{
    std::string text;
    for (; first != end; ++first)
    {
        text += *first + '\n';
    }
    return text;
}

[[noreturn]] void fail(const std::string& path, int error)
{
    throw Valdane::VdException(path + ": " + std::generic_category().message(error));
}

} // namespace

LineHistory::LineHistory(std::string file) : path(std::move(file)) {}

std::vector<std::string> LineHistory::read() const
{
    if (path.empty() || !std::filesystem::exists(path))
    {
        return {};
    }
    auto lines = splitLines(readFile(path));
    lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(std::min(lines.size(), most)));
    return lines;
}

void LineHistory::add(std::string_view line) const
{
    if (path.empty())
    {
        return;
    }
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    const Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR));
    // Whoever shortens the file does so under the lock, and in place: no line of another session goes to a file that is gone.
    if (!file.isOpen() || flock(file.get(), LOCK_EX) != 0)
    {
        fail(path, errno);
    }
    const auto text = readFile(path);
    auto lines = splitLines(text);
    // A line that was cut off, by a full disk for instance, stays one of its own.
    std::string ended = text.empty() || text.ends_with('\n') ? "" : "\n";
    if (lines.size() >= 2 * most)
    {
        ended.clear();
        const auto kept = joinLines(lines.end() - static_cast<std::ptrdiff_t>(most - 1), lines.end());
        if (ftruncate(file.get(), 0) != 0)
        {
            fail(path, errno);
        }
        if (const int why = file.write(kept); why != 0)
        {
            fail(path, why);
        }
    }
    if (const int why = file.write(ended + std::string(line) + '\n'); why != 0)
    {
        fail(path, why);
    }
}

std::string LineHistory::findPath()
{
    const auto folder = findStateFolder();
    return folder.empty() ? "" : folder + "/lines";
}

} // namespace ModelEditor
