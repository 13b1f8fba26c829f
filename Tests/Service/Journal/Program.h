#pragma once

#include "Service/CommandPattern/CommandManager.h"
#include "Service/Journal/CommandCodecs.h"
#include "Service/Journal/CoreCodecs.h"
#include "Tests/Service/Journal/Sheet.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Valdane
{

/// An application with one document.
struct Program
{
    explicit Program(CommandCodecs::Keeps keeps)
    {
        addCoreCodecs(codecs, [] { return nullptr; });
        addTypeDigit(codecs, sheet, keeps);
    }

    Sheet sheet;
    CommandCodecs codecs;
    CommandManager manager;
};

inline std::vector<std::string> rowsOf(const CommandManager& manager)
{
    std::vector<std::string> rows;
    rows.reserve(manager.getQueueSize());
    for (std::uint64_t row = 0; row < manager.getQueueSize(); ++row)
    {
        rows.push_back(manager.getCommand(row)->getDescription());
    }
    return rows;
}

/// All that comes back: the sheet, the rows, how many of them are done, and where it was saved.
inline std::string stateOf(const Sheet& sheet, const CommandManager& manager)
{
    std::string text = sheet.text() + "|";
    for (const std::string& row : rowsOf(manager))
    {
        text += " " + row;
    }
    const auto saved = manager.getSavedPosition(0);
    return text + " | " + std::to_string(manager.getPosition()) + " | " +
           (saved.has_value() ? std::to_string(*saved) : "not saved");
}

/// The files of a journal as a program leaves them that dies now.
inline void copyJournal(const std::filesystem::path& used, const std::filesystem::path& left)
{
    for (const char* const suffix : {"", "-wal"})
    {
        std::filesystem::copy_file(used.string() + suffix, left.string() + suffix,
                                   std::filesystem::copy_options::overwrite_existing);
    }
}

} // namespace Valdane
