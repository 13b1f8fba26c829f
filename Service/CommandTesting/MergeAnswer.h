#pragma once

namespace Valdane
{

/// What CommandKit::merging() expects mergeWith() to answer.
enum class MergeAnswer
{
    Any,     ///< true or false; what follows must be right
    Taken,   ///< true: the commands become one
    Refused, ///< false: both stay
};

} // namespace Valdane
