#pragma once

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Recovery/FileJournal.h"
#include "Applications/ModelEditor/Terminal/Editor.h"

#include <cstdint>
#include <memory>
#include <string>

namespace ModelEditor
{

/// A file that a session has open.
struct OpenFile
{
    std::uint64_t number; ///< stays the same while it is open
    std::string path;     ///< the file that was loaded or saved last
    std::string
        savePath; ///< where `save` without a file writes; differs from path until something was saved there
    std::unique_ptr<XmlModel> model;
    std::unique_ptr<Editor> editor;       ///< of the model; goes before it
    std::unique_ptr<FileJournal> journal; ///< of both, and goes before them; empty if none is kept
    Valdane::Signals::Connection journalEnded;
};

} // namespace ModelEditor
