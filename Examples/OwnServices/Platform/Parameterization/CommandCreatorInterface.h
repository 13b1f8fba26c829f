#pragma once

#include <memory>
#include <string>

namespace Valdane
{

template <typename T>
class AttributeDescription;
class CommandBase;

/// Makes a command that sets an attribute to what a user has typed.
///
/// Thread: the main thread.
class CommandCreatorInterface
{
public:
    virtual ~CommandCreatorInterface() = default;

    /// For attributes of all other types: makes none.
    virtual std::shared_ptr<CommandBase> createCommand(const void* /*description*/,
                                                       const std::string& /*valueText*/,
                                                       const std::string& /*commandDescription*/)
    {
        return nullptr;
    }

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
