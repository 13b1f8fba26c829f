#include "Applications/ModelEditor/Terminal/LoadedModel.h"

#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <new>

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
        return {path, std::make_unique<XmlModel>(file.bytes, path), file.state};
    }
    catch (const std::bad_alloc&)
    {
        throw Valdane::VdException(path + ": not enough memory for a model of " +
                                   std::to_string(file.bytes.size()) + " bytes");
    }
}

} // namespace ModelEditor
