#pragma once

#include <functional>
#include <string>

namespace ModelEditor
{

class Interruption;

/// What @p work answers. It runs in a process of its own, a copy of this one, so that it can be stopped wherever it is:
/// the parser's library cannot be told to stop.
///
/// The process ends when this one does, however that is. If no process can be made, it runs here, and cannot be stopped.
///
/// @param work  changes nothing that counts, and writes nothing.
/// @throws VdException `interrupted` if that is asked meanwhile; std::bad_alloc if @p work throws, or its process is
///         ended by others.
std::string computeApart(const std::function<std::string()>& work, const Interruption& interruption);

} // namespace ModelEditor
