#pragma once

#include "Tests/Support/Faults/CallOuts.h"

#include <cctype>
#include <exception>
#include <functional>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

namespace Valdane::Faults
{

/// One operation in one prepared world, and what it promises for the case that it fails.
///
/// A world has `std::string takeState()`, which tells everything that can be observed in it, now and (by
/// going on with it) later; `Answer answer`, in which the operation leaves what it has told; and
/// `static int livingCommands()`.
template <typename World>
struct FaultRow
{
    using Step = std::function<void(World&)>;

    // Not the vector itself, because g++ 12 cannot have that as an initialized member of a template.
    struct Steps
    {
        Steps() noexcept {}

        Steps(std::initializer_list<Step> listed) : list(listed) {}

        std::vector<Step> list;
    };

    std::string name = std::string();
    /// Empty where the world is good as it is made.
    Step prepare = Step();
    Step operation = Step();
    /// The states that a failure may leave in addition to the one before, each as what leads to it; without
    /// any the guarantee is the strong one.
    Steps mayLeave = Steps();
    /// What a failure of who is told leaves and nothing else; empty where that comes when all is done.
    Step leftByListeners = Step();
    /// Whether the operation calls anything that might throw.
    bool callsOut = true;
    /// Whether it allocates.
    bool allocates = true;
    /// Nothing derived from std::exception gets out.
    bool keepsExceptions = false;
    /// The state before is none that a failure may leave.
    bool alwaysEnds = false;

    /// The name as one word.
    std::string testName() const
    {
        std::string word;
        bool startsWord = true;
        for (const char letter : name)
        {
            const auto code = static_cast<unsigned char>(letter);
            if (std::isalnum(code) != 0)
            {
                word += startsWord ? static_cast<char>(std::toupper(code)) : letter;
            }
            startsWord = std::isalnum(code) == 0;
        }
        return word;
    }

    friend std::ostream& operator<<(std::ostream& out, const FaultRow& row)
    {
        return out << row.name;
    }
};

/// What an operation has told.
enum class Answer
{
    None,
    True,
    False,
};

inline Answer answerOf(bool result)
{
    return result ? Answer::True : Answer::False;
}

/// What came out of an operation.
enum class Escaped
{
    Nothing,
    StandardException,
    Stranger,
};

template <typename Operation>
Escaped run(const Operation& operation)
{
    try
    {
        operation();
        return Escaped::Nothing;
    }
    catch (const std::exception&)
    {
        return Escaped::StandardException;
    }
    catch (const Stranger&)
    {
        return Escaped::Stranger;
    }
}

} // namespace Valdane::Faults
