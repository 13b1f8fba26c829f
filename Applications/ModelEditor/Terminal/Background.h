#pragma once

#include "Applications/ModelEditor/Terminal/Completion.h"

#include <string>
#include <string_view>

namespace ModelEditor
{

class WakeUp;

/// What a line that is being typed is for: work that runs meanwhile, and words that complete it.
///
/// Thread: the main thread only.
class Background
{
public:
    Background() = default;
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;
    virtual ~Background();

    /// What is signalled when goOn() is to be called.
    virtual const WakeUp& getWakeUp() const = 0;

    virtual bool isUnderWay() const = 0;

    /// What a person who can type meanwhile is to see of it.
    virtual std::string getPrompt() const = 0;

    /// Takes the work a step further. @return whether it is over; conclude() must follow then.
    virtual bool goOn() = 0;

    /// Prints what came of it.
    virtual void conclude() = 0;

    /// What may complete @p line, which is typed up to the cursor.
    virtual Completion complete(std::string_view line) const = 0;

    /// The interrupt key was struck.
    virtual void interrupt() = 0;
};

} // namespace ModelEditor
