#include "Applications/ModelEditor/Document/LoadedModel.h"

#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <cstddef>
#include <new>
#include <ranges>

namespace ModelEditor
{

namespace
{

FileContent readModel(const std::string& path)
{
    try
    {
        return loadFile(path);
    }
    catch (const std::bad_alloc&)
    {
        throw Valdane::VdException(path + ": not enough memory");
    }
}

// What other programs may refuse does not keep anybody from editing the file.
void warnOf(const XmlModel& model, const std::string& path, std::ostream& err)
{
    constexpr std::size_t most = 10;
    const auto warnings = model.findWarnings();
    for (const auto& text : warnings.texts | std::views::take(most))
    {
        err << "warning: " << text << '\n';
    }
    if (warnings.count > most)
    {
        err << "warning: " << path << ": and " << warnings.count - most << " more\n";
    }
}

} // namespace

LoadedModel loadModel(const std::string& path)
{
    const auto file = readModel(path);
    try
    {
        return {path, std::make_unique<XmlModel>(file.bytes, path), file.state, file.bytes.size()};
    }
    catch (const std::bad_alloc&)
    {
        throw Valdane::VdException(path + ": not enough memory for a model of " +
                                   std::to_string(file.bytes.size()) + " bytes");
    }
}

LoadedModel openModel(const std::string& path, std::ostream& warnings)
{
    auto loaded = loadModel(path);
    warnOf(*loaded.model, path, warnings);
    removeTemporaries(path);
    return loaded;
}

} // namespace ModelEditor
