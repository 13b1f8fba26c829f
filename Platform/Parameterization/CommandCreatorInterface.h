#pragma once

#include "Platform/Parameterization/ParameterizationExport.h"

#include <memory>
#include <string>

namespace Valdane
{

class CommandBase;
template <typename T>
class AttributeDescription;

/// Makes commands that set an attribute, given its description and the new value as text.
///
/// Every overload takes a description that must not be null (not checked), the value's text, and the description
/// of the new command. An implementation documents the texts that it takes, and what it throws for others.
///
/// Thread: the application's main thread only.
class VALDANE_PARAMETERIZATION_EXPORT CommandCreatorInterface
{
public:
    /// Has no state: making, copying and moving do nothing.
    CommandCreatorInterface() = default;
    CommandCreatorInterface(const CommandCreatorInterface&) = default;
    CommandCreatorInterface(CommandCreatorInterface&&) = default;
    CommandCreatorInterface& operator=(const CommandCreatorInterface&) = default;
    CommandCreatorInterface& operator=(CommandCreatorInterface&&) = default;
    virtual ~CommandCreatorInterface();

    /// For a description of a type that has no overload. @return an empty pointer, unless overridden.
    virtual std::shared_ptr<CommandBase> createCommand(const void* description, const std::string& valueText,
                                                       const std::string& commandDescription);

    /// Makes the command that sets the attribute to the value of @p valueText.
    virtual std::shared_ptr<CommandBase> createCommand(const AttributeDescription<bool>* description,
                                                       const std::string& valueText,
                                                       const std::string& commandDescription) = 0;
    virtual std::shared_ptr<CommandBase> createCommand(const AttributeDescription<double>* description,
                                                       const std::string& valueText,
                                                       const std::string& commandDescription) = 0;
    virtual std::shared_ptr<CommandBase> createCommand(const AttributeDescription<std::string>* description,
                                                       const std::string& valueText,
                                                       const std::string& commandDescription) = 0;
    virtual std::shared_ptr<CommandBase> createCommand(const AttributeDescription<unsigned int>* description,
                                                       const std::string& valueText,
                                                       const std::string& commandDescription) = 0;
    virtual std::shared_ptr<CommandBase> createCommand(const AttributeDescription<int>* description,
                                                       const std::string& valueText,
                                                       const std::string& commandDescription) = 0;
};

} // namespace Valdane
