#pragma once

#include "Journal.h"
#include "Platform/GeneralServices/Progress.h"
#include "Platform/Logging/LogMessage.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Valdane
{

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

        void add(Rate rate)
        {
            noteCall("Speed.add(" + std::to_string(rate) + ")");
            rates.push_back(rate);
        }

        /// The last one added; VeryFast if there is none.
        Rate getAverageSpeed() const
        {
            noteCall("Speed.getAverageSpeed");
            return rates.empty() ? VeryFast : rates.back();
        }

        /// Ten times the rate.
        int getPartitionFromRate(Rate rate) const
        {
            noteCall("Speed.getPartitionFromRate(" + std::to_string(rate) + ")");
            return 10 * rate;
        }

    private:
        std::vector<Rate> rates;
    };

    virtual void reset()
    {
        noteCall(label + ".reset");
    }

    virtual void setComplete()
    {
        noteCall(label + ".setComplete");
    }

    double progress() const
    {
        noteCall(label + ".progress");
        return position;
    }

    // Not const, as the operations that it stands for.
    // NOLINTBEGIN(readability-make-member-function-const)
    void appendSubProgress(LegacyProgress* sub, int from, int to)
    {
        noteCall(label + ".appendSubProgress(" + (sub == nullptr ? "null" : sub->label) + ", " +
                 std::to_string(from) + ", " + std::to_string(to) + ")");
    }

    void setSubProgress(std::shared_ptr<Progress> sub, int percent, int parts)
    {
        lastSub = sub;
        noteCall(label + ".setSubProgress(" + labelOf(sub) + ", " + std::to_string(percent) + ", " +
                 std::to_string(parts) + ")");
    }

    void sendMessage(const LogMessage& message)
    {
        noteCall(label + ".sendMessage(" + message.text + ", " + std::to_string(message.type) + ", " +
                 message.second + ")");
    }

    // NOLINTEND(readability-make-member-function-const)

    void addProgress(std::shared_ptr<Progress> child, bool followsReset) override
    {
        noteCall(label + ".addProgress(" + labelOf(child) + ", " + (followsReset ? "true" : "false") + ")");
    }

    std::string label = "progress";
    /// What setSubProgress() was given last, as one would keep it who does not own it.
    std::weak_ptr<Progress> lastSub;
    /// What progress() answers.
    double position = 0.0;
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
