#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

/// What happened, in order; emptied by each test.
inline std::vector<std::string>& journal()
{
    static std::vector<std::string> entries;
    return entries;
}

/// Put before every entry, where it is set: the state in which something happened.
inline std::function<std::string()>& journalPrefix()
{
    static std::function<std::string()> prefix;
    return prefix;
}

inline void note(const std::string& entry)
{
    journal().push_back((journalPrefix() ? journalPrefix()() : "") + entry);
}

/// Takes everything that has been noted up to now.
inline std::vector<std::string> takeJournal()
{
    return std::exchange(journal(), {});
}
