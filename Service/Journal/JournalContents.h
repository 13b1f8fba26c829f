#pragma once

#include "Service/Journal/JournalChange.h"

#include <map>
#include <string>
#include <vector>

namespace Valdane
{

/// All that is in a file but the base.
struct JournalContents
{
    bool isEmpty = true;
    JournalState state;
    std::vector<JournalEntry> entries; ///< by place
    std::vector<JournalEntry> retired; ///< by place
    std::map<std::string, std::string> texts;

    std::string text(const char* key) const;
};

/// @throws VdException if no journal can have written them, even if all checksums are right.
void requireSound(const JournalContents& contents);

/// @throws VdException always: the file is damaged there.
[[noreturn]] void refuseDamaged(const std::string& what);

} // namespace Valdane
