#include "Applications/ModelEditor/Document/LoadedModel.h"

#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <cstddef>
#include <new>
#include <ranges>
#include <utility>

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

} // namespace

LoadedModel loadModel(const std::string& path)
{
    const auto file = readModel(path);
    try
    {
        auto model = std::make_unique<XmlModel>(file.bytes, path);
        return {path, std::move(model), file.state, file.bytes.size()};
    }
    catch (const std::bad_alloc&)
    {
        throw Valdane::VdException(path + ": not enough memory for a model of " +
                                   std::to_string(file.bytes.size()) + " bytes");
    }
}

// What other programs may refuse does not keep anybody from editing the file.
void warnOf(const LoadedModel& loaded, std::ostream& out)
{
    constexpr std::size_t most = 10;
    const auto warnings = loaded.model->findWarnings();
    for (const auto& text : warnings.texts | std::views::take(most))
    {
        out << "warning: " << text << '\n';
    }
    if (warnings.count > most)
    {
        out << "warning: " << loaded.path << ": and " << warnings.count - most << " more\n";
    }
}

LoadedModel openModel(const std::string& path, std::ostream& warnings)
{
    auto loaded = loadModel(path);
    warnOf(loaded, warnings);
    removeTemporaries(path);
    return loaded;
}

} // namespace ModelEditor
