#pragma once

#include <exception>
#include <functional>
#include <ostream>
#include <string>

namespace ModelEditor
{

/// Has another program show what is longer than the screen, page by page: the one that the variable PAGER names, or
/// `less`.
///
/// Ownership: refers to the stream, which must live longer. Thread: one at a time.
class Pager
{
public:
    /// @param stream  writes to standard output.
    explicit Pager(std::ostream& stream);

    /// Does @p work, which carries out @p line, and shows what it has printed if the verb is one that only looks.
    ///
    /// Shows it without a pager if it fits on the screen, if standard output is no terminal that can move its cursor,
    /// if PAGER is empty or `cat`, and if the program is not there. Whoever leaves the pager early has seen enough.
    /// @throws what @p work throws, when that is shown.
    void run(const std::string& line, const std::function<void()>& work);

private:
    std::string collect(const std::function<void()>& work, std::exception_ptr& failure);

    std::ostream& out;
};

} // namespace ModelEditor
