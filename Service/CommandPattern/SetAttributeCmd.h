#pragma once

#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/CommandBase.h"

#include <memory>
#include <string>

namespace Valdane
{

class Object;
template <typename T>
class AttributeDescription;

/// Sets one attribute of an object of the parameter tree; for T = int, unsigned int, double, std::string, bool.
///
/// Every execute and undo looks up the object and its AttributeDescription<T> by the path. They emit the
/// description's changed signal with the value that they set, if the attribute is enabled for standard values or
/// says that it emits that signal.
///
/// Both operations do nothing at all if the tree no longer exists. They reset the command's progress first and
/// complete it last. They throw
/// - VdException naming the path, if there is no object there; execute() also if it has no attribute of this type;
/// - `std::bad_function_call`, if the attribute cannot be read or written;
/// - whatever the attribute's callables and listeners throw. If a listener throws, execute() sets the value back
///   and does not announce that; the work of undo() is done.
///
/// If completing the command's progress throws, the work is done.
///
/// Thread: as CommandBase.
template <typename T>
class VALDANE_COMMANDPATTERN_EXPORT SetAttributeCmd : public CommandBase
{
public:
    /// What it does and remembers, for who keeps commands in a file.
    struct State
    {
        Path path;                         ///< the attribute's path from the root
        T newValue{};                      ///< the value to set
        T oldValue{};                      ///< what execute() remembered last; the value T() before
        bool applyStandardRunning = false; ///< whether standard values were being applied in an execute()
    };

    /// @param object       the root of the tree; held weakly.
    /// @param path         the attribute's path from the root.
    /// @param newValue     the value to set.
    /// @param description  as in CommandBase; if it is empty, it becomes "Set " and the attribute's name.
    SetAttributeCmd(std::weak_ptr<Object> object, Path path, T newValue, std::string description);

    /// A command as it was when its state was asked for, in the tree of @p object.
    SetAttributeCmd(std::weak_ptr<Object> object, State state, std::string description);

    /// Takes over the arguments and the remembered state; see CommandBase.
    SetAttributeCmd(SetAttributeCmd&&) noexcept;
    SetAttributeCmd& operator=(SetAttributeCmd&&) noexcept;
    ~SetAttributeCmd() override;

    /// Remembers the present value, and whether standard values are being applied to the object, then sets the new
    /// value. The command never forgets that standard values were being applied.
    void execute() override;

    /// Sets the value that execute() remembered last. Meanwhile the object has the remembered state of applying
    /// standard values; it gets its own state back even if the setter throws. Writes nothing if the attribute no
    /// longer exists.
    void undo() override;

    /// What it does and remembers now.
    State getState() const;

private:
    std::shared_ptr<AttributeDescription<T>> findDescription(Object& target) const;

    std::weak_ptr<Object> valdaneObject;
    Path valdanePath;
    T valdaneNewValue;
    T valdaneOldValue{};
    bool valdaneApplyStandardRunning = false;
};

extern template class SetAttributeCmd<int>;
extern template class SetAttributeCmd<unsigned int>;
extern template class SetAttributeCmd<double>;
extern template class SetAttributeCmd<std::string>;
extern template class SetAttributeCmd<bool>;

} // namespace Valdane
