#pragma once

#include "Platform/Parameterization/CommandCreatorInterface.h"
#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/CommandPatternExport.h"

#include <memory>
#include <string>

namespace Valdane
{

class Object;

/// Makes commands that set attributes of one object, from texts as a user types them.
///
/// If the attribute has a command creator, that makes the command. Otherwise the command is a SetAttributeCmd.
///
/// The text is converted as `boost::lexical_cast` does in the classic locale, whatever the global locale is. All
/// of the text must be the value; blanks are refused.
/// - An integer is an optional sign and decimal digits. A minus before an unsigned one wraps it around, as C++
///   does.
/// - A double is a decimal number with a point, or "nan" or "inf".
/// - A bool is the number 0 or 1.
/// - A string is any text, taken as it is.
///
/// Thread: as CommandManager.
class VALDANE_COMMANDPATTERN_EXPORT SetAttributecommandFactory : public CommandCreatorInterface
{
public:
    /// @param object  the object that has the attributes. The factory keeps only its path and, weakly, its root.
    /// @throws VdException if @p object is empty.
    explicit SetAttributecommandFactory(std::shared_ptr<Object> object);

    /// For the same object.
    SetAttributecommandFactory(const SetAttributecommandFactory&);
    SetAttributecommandFactory(SetAttributecommandFactory&&) noexcept;
    SetAttributecommandFactory& operator=(const SetAttributecommandFactory&);
    SetAttributecommandFactory& operator=(SetAttributecommandFactory&&) noexcept;
    ~SetAttributecommandFactory() override;

    /// Returns an empty pointer for descriptions of other types, and for a pointer to the base class.
    using CommandCreatorInterface::createCommand;

    /// @param description         an attribute of the object.
    /// @param valueText           the value to set.
    /// @param commandDescription  as in CommandBase; if it is empty, a SetAttributeCmd makes one.
    /// @return a command that was not executed yet; empty only if the attribute's own creator returns that.
    /// @throws boost::bad_lexical_cast if @p valueText cannot be converted; VdException naming the path, if
    ///         the object does not exist, or if @p description is null; whatever the attribute's own creator
    ///         throws. Nothing is then changed.
    std::shared_ptr<CommandBase> createCommand(const AttributeDescription<bool>* description,
                                               const std::string& valueText,
                                               const std::string& commandDescription) override;
    std::shared_ptr<CommandBase> createCommand(const AttributeDescription<double>* description,
                                               const std::string& valueText,
                                               const std::string& commandDescription) override;
    std::shared_ptr<CommandBase> createCommand(const AttributeDescription<std::string>* description,
                                               const std::string& valueText,
                                               const std::string& commandDescription) override;
    std::shared_ptr<CommandBase> createCommand(const AttributeDescription<unsigned int>* description,
                                               const std::string& valueText,
                                               const std::string& commandDescription) override;
    std::shared_ptr<CommandBase> createCommand(const AttributeDescription<int>* description,
                                               const std::string& valueText,
                                               const std::string& commandDescription) override;

private:
    // convert(), in the source, makes the value of the text.
    template <typename T>
    std::shared_ptr<CommandBase> create(const AttributeDescription<T>* description,
                                        const std::string& valueText,
                                        const std::string& commandDescription) const;

    std::weak_ptr<Object> valdaneRootObject;
    Path valdaneObjectPath;
};

} // namespace Valdane
