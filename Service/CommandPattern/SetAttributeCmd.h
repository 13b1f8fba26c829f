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

/// Sets one attribute of an object of the parameter tree; for T = int, unsigned int, double, std::string,
/// bool.
///
/// The object and its AttributeDescription<T> are looked up by the path at every execute and undo. The new
/// (or, on undo, the old) value is announced by the description's changed signal, if the attribute is enabled
/// for standard or says that it emits that signal.
///
/// Both operations do nothing at all if the tree is gone. They reset the command's progress first and
/// complete it last. They throw VdException naming the path, if there is no object (on execute: no attribute
/// of this type either); `std::bad_function_call` if the attribute cannot be read or written; and what the
/// attribute's callables and listeners throw: when a listener does, an execution sets the value back (without
/// announcing that), an undo has been done. What the command's progress throws at the end leaves the work done.
///
/// Thread: as CommandBase.
template <typename T>
class VALDANE_COMMANDPATTERN_EXPORT SetAttributeCmd : public CommandBase
{
public:
    /// @param object       the root of the tree; held weakly.
    /// @param path         the attribute's path from the root.
    /// @param newValue     the value to set.
    /// @param description  as in CommandBase; where it is empty it becomes "Set " and the attribute's name.
    SetAttributeCmd(std::weak_ptr<Object> object, Path path, T newValue, std::string description);

    /// Takes over what was given and what is remembered; see CommandBase.
    SetAttributeCmd(SetAttributeCmd&&) noexcept;
    SetAttributeCmd& operator=(SetAttributeCmd&&) noexcept;
    ~SetAttributeCmd() override;

    /// Remembers the present value, and whether standard values are being applied to the object, then sets
    /// the new value. Once it found them being applied the command never forgets that.
    void execute() override;

    /// Sets the value that execute() remembered last, in the remembered state of applying standard values,
    /// which is put back as it was also when the attribute's setter throws. Writes nothing if the attribute
    /// is gone.
    void undo() override;

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
