#pragma once

#include "Service/CommandTesting/CommandTestingExport.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace Valdane
{

/// What a check has found: nothing, or mistakes in words.
///
///     const Report report = kit.roundTrip(makeRename);
///     EXPECT_TRUE(report) << report;
///
/// Printed, it is one line that says what was checked, and below it the mistakes:
///
///     Round trip of "Rename pump": 1 mistake
///       After undo 1 the data are not as before execute() (- expected, + found):
///         - name: pump
///         + name: Pump
///
/// Thread: one thread at a time.
class VALDANE_COMMANDTESTING_EXPORT Report
{
public:
    /// No mistakes. @param subject  what was checked, such as "Round trip of \"Rename pump\"".
    explicit Report(std::string subject);

    /// True if there are no mistakes.
    explicit operator bool() const noexcept;

    /// What was checked.
    const std::string& getSubject() const noexcept;

    /// The mistakes, in the order in which they were found. One may have several lines.
    const std::vector<std::string>& getMistakes() const noexcept;

    /// Adds a mistake: a sentence, below which there may be further lines. The same one counts once.
    void addMistake(std::string mistake);

    /// Adds the mistakes of @p other, each with the subject of @p other above it; printed, it is above the first.
    void add(const Report& other);

    /// The text that the class comment shows. It ends with the end of a line. Of a mistake with more than 101 lines
    /// the text has the first 100 and a line that says how many are left out; getMistakes() has them all.
    std::string toText() const;

private:
    std::string subject;
    std::vector<std::string> mistakes;
    /// For each mistake the line above it, if it comes from another report.
    std::vector<std::string> headings;
};

/// Writes the text of @p report.
VALDANE_COMMANDTESTING_EXPORT std::ostream& operator<<(std::ostream& out, const Report& report);

} // namespace Valdane
