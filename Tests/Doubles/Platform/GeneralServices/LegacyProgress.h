#pragma once

#include "Journal.h"
#include "Platform/GeneralServices/Progress.h"

#include <functional>
#include <memory>
#include <string>

namespace Valdane
{

class LogMessage;

class LegacyProgress : public Progress
{
public:
    class Speed
    {
    public:
        enum Rate
        {
            VerySlow = 1,
            Slow = 2,
            Normal = 3,
            Fast = 4,
            VeryFast = 5,
        };
    };

    virtual void reset()
    {
        noteCall(label + ".reset");
    }

    virtual void setComplete()
    {
        noteCall(label + ".setComplete");
    }

    void setSubProgress(const std::shared_ptr<Progress>& sub, int percent, int parts)
    {
        noteCall(label + ".setSubProgress(" + labelOf(sub) + ", " + std::to_string(percent) + ", " +
                 std::to_string(parts) + ")");
    }

    void addProgress(std::shared_ptr<Progress> child, bool followsReset) override
    {
        noteCall(label + ".addProgress(" + labelOf(child) + ", " + (followsReset ? "true" : "false") + ")");
    }

    std::string label = "progress";
    /// Called on every call of any progress after it is noted; may throw.
    inline static std::function<void(const std::string& call)> onCall;

private:
    static std::string labelOf(const std::shared_ptr<Progress>& progress)
    {
        const auto* labelled = dynamic_cast<const LegacyProgress*>(progress.get());
        return labelled == nullptr ? "null" : labelled->label;
    }

    static void noteCall(const std::string& call)
    {
        note(call);
        if (onCall)
        {
            onCall(call);
        }
    }
};

} // namespace Valdane
