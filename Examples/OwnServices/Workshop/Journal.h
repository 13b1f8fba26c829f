#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace Workshop
{

/// What this application logs: a list of lines that it shows when asked to.
///
/// Thread: any.
class Journal
{
public:
    /// The one journal. It lives longer than every static object whose constructor has asked for it.
    static Journal& get();

    /// Appends a line. @throws std::bad_alloc
    void write(const std::string& line);

    /// Takes all lines out.
    std::vector<std::string> takeLines();

    /// Whether details are wanted, too; not at first.
    bool isDetailed() const;
    void setDetailed(bool on);

private:
    std::mutex mutex;
    std::vector<std::string> lines;
    std::atomic<bool> detailed = false;
};

} // namespace Workshop
