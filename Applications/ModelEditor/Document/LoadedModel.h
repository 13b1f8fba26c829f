#pragma once

#include "Applications/ModelEditor/Document/FileState.h"
#include "Applications/ModelEditor/Document/XmlModel.h"

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>

namespace ModelEditor
{

/// A model, and the file that it was loaded from.
struct LoadedModel
{
    std::string path;
    std::unique_ptr<XmlModel> model; ///< never empty
    FileState state;                 ///< of the file when it was loaded
    std::size_t size;                ///< of the file, in bytes
};

/// Loads the model in the file @p path.
///
/// @throws VdException with the path if it cannot be read, is no model, or memory does not suffice.
LoadedModel loadModel(const std::string& path);

/// Tells @p out what other programs may refuse in the file.
void warnOf(const LoadedModel& loaded, std::ostream& out);

/// Loads a model that is opened: also tells @p warnings what warnOf() tells, and removes temporary files that were left
/// beside it.
LoadedModel openModel(const std::string& path, std::ostream& warnings);

} // namespace ModelEditor
