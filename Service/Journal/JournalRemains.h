#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>

namespace Valdane
{

/// What is in a journal that nobody writes any more.
struct JournalRemains
{
    std::filesystem::path file;                  ///< of the journal
    std::string document;                        ///< whose, as Journal::start() was told
    std::chrono::system_clock::time_point since; ///< when that was
    std::uint64_t steps = 0;                     ///< in the history, done or undone
    std::uint64_t unsavedSteps = 0;              ///< done or undone since the last save
    bool isClosed = false;   ///< whether Journal::closeAndKeep() was called: nothing was lost
    bool hasBase = false;    ///< whether the document before the first step is in it
    std::string digest;      ///< of the document that recover() needs
    std::string savedDigest; ///< of the document as it was saved last
    std::string
        savingDigest;   ///< of the save that had begun last, which may have replaced it; empty if none has
    std::string ended;  ///< why it ends before the history did; empty if it does not
    std::string damage; ///< why it cannot be read; all else but the file is empty then
};

} // namespace Valdane
