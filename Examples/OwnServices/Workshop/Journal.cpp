#include "Workshop/Journal.h"

#include <utility>

namespace Workshop
{

Journal& Journal::get()
{
    static Journal journal;
    return journal;
}

void Journal::write(const std::string& line)
{
    const std::lock_guard lock(mutex);
    lines.push_back(line);
}

std::vector<std::string> Journal::takeLines()
{
    const std::lock_guard lock(mutex);
    return std::exchange(lines, {});
}

bool Journal::isDetailed() const
{
    return detailed;
}

void Journal::setDetailed(bool on)
{
    detailed = on;
}

} // namespace Workshop
