#pragma once

#include "Service/CommandTesting/CommandSubject.h"
#include "Tests/Service/CommandTesting/Mistakes/Part.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Valdane
{

class ModuleAccessInterface;

/// A small application, and commands that people would write for it.
namespace Plants
{

/// A plant of two modules: "Water" with a tank and a pump, "Heat" with a burner and a valve.
class Plant
{
public:
    /// Is told before the plant does what may fail; throws if that fails.
    using CallOut = std::function<void(std::string_view what)>;

    explicit Plant(CallOut tellsBefore = {});

    /// @throws VdException if there is no such part.
    Part& getPart(std::string_view key) const;
    Part& getPump() const;

    /// The flow of @p part, and with it the total; marks its module. @return the flow before.
    double setFlow(Part& part, double flow) noexcept;

    /// The last part of a module can go, and come again. @throws VdException
    void addPart(const std::string& module, std::shared_ptr<Part> part);
    void removePart(const std::string& module, std::string_view key);

    /// Replaces the plant's file. @throws if the call-out fails; the file is as before then.
    void writeFile(std::string text);

    /// All that there is, one fact on each line.
    std::string toText() const;
    static std::string toText(const Object& module);

    std::vector<ModuleSnapshot> takeModuleSnapshots() const;
    std::shared_ptr<ModuleAccessInterface> makeModuleAccess() const;

    /// The modules are its children.
    std::shared_ptr<Object> root = std::make_shared<Object>("plant");
    double totalFlow = 0; ///< of all parts; remembered, because it takes long to add up
    std::string file = "nothing";

private:
    void addModule(const std::string& name, std::vector<std::shared_ptr<Part>> parts);

    CallOut callOut;
};

} // namespace Plants
} // namespace Valdane
