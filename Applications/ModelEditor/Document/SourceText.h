#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace ModelEditor
{

/// A stretch of a source text.
struct Span
{
    std::size_t offset = 0;
    std::size_t length = 0;
};

/// A text as it was read, and what takes the place of some stretches of it.
///
/// What nobody replaced stays as it was, byte by byte.
///
/// Thread: one at a time.
class SourceText
{
    struct Replacement
    {
        std::size_t length;
        std::string text;
    };

public:
    /// A replacement that has all the memory it needs.
    using Prepared = std::map<std::size_t, Replacement>::node_type;

    explicit SourceText(std::string text);

    /// The text as it was read; valid as long as this object.
    std::string_view getOriginal() const noexcept;

    /// Puts @p replacement in the place of @p span, whatever was there before.
    ///
    /// Stretches that are replaced at the same time must be equal or apart (not checked).
    void replace(Span span, std::string replacement);

    /// The same in two steps, of which only the first one can fail.
    static Prepared prepare(Span span, std::string replacement);
    void replace(Prepared prepared) noexcept;

    /// Puts the original back at @p span.
    void restore(Span span) noexcept;

    /// Whether something was replaced.
    bool isChanged() const noexcept;

    /// The text with all replacements. Cost: a copy of the text.
    std::string getCurrent() const;

    /// The part of that text that stands for @p span of the original.
    ///
    /// @pre no replacement reaches across an end of @p span (not checked). One of nothing at the end belongs
    ///      to it, one at its beginning does not, unless that is the beginning of the text.
    std::string getCurrent(Span span) const;

    /// The text as it was read, which this object loses.
    std::string release() noexcept;

private:
    std::string original;
    std::map<std::size_t, Replacement> replacements;
};

} // namespace ModelEditor
