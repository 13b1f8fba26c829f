#pragma once

#include "Service/Journal/JournalContents.h"

#include <string>

struct sqlite3;

namespace Valdane
{

class JournalBlobs;

/// All that is in the database of a journal but the base. @throws VdException if anything in it is damaged.
JournalContents readContents(sqlite3* database, JournalBlobs& blobs);

/// The document before the first entry. @throws VdException if it is damaged.
std::string readBase(sqlite3* database);

} // namespace Valdane
