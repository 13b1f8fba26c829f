// Operations of a command manager. The first byte says which: all that an application can do, beside the model of the
// manager; or macros within macros and collectors, which the model does not have.

#include "Comparison.h"
#include "FuzzTarget.h"
#include "Journal.h"
#include "NestedCommands.h"
#include "Operation.h"
#include "Platform/Logging/Logging.h"

#include <span>
#include <string>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    const std::span<const std::uint8_t> bytes(data + 1, size - 1);
    Valdane::Logging::traceEnabled = true;
    if ((data[0] & 1U) == 0)
    {
        const std::string difference = Valdane::Model::differenceAfter(Valdane::Model::operations(bytes));
        require(difference.empty(), difference);
    }
    else
    {
        playNestedCommands(bytes);
    }
    journalPrefix() = nullptr;
    takeJournal();
    Valdane::Logging::lines.clear();
    return 0;
}
