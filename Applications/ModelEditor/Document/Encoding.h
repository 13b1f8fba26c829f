#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ModelEditor
{

/// The character encoding of an XML file: its byte order mark, or else what its declaration says, or else
/// UTF-8.
///
/// A file that is in UTF-8 or ASCII is handed on byte by byte, not checked.
///
/// Thread: immutable; safe from any thread.
class Encoding
{
public:
    /// The encoding of the file that starts with @p bytes.
    static Encoding of(std::string_view bytes);

    /// As a declaration calls it.
    const std::string& getName() const noexcept;

    /// Whether every character can be written in it.
    bool isUnicode() const noexcept;

    /// Whether only ASCII can be written in it.
    bool isAscii() const;

    /// Where in @p text, at or behind @p offset, the first character is that it lacks; npos if there is none.
    ///
    /// Bytes that are not UTF-8 are lacking, unless it is handed on.
    std::size_t findMissing(std::string_view text, std::size_t offset = 0) const;

    /// @throws VdException that names the first character of @p text that it lacks, and @p where that is.
    void requireAll(std::string_view text, const std::string& where) const;

    /// The text of a whole file as UTF-8, without byte order mark.
    ///
    /// @throws VdException if the encoding is not known, if @p bytes are not in it, or if encode() would not give them
    ///         again.
    std::string decode(std::string_view bytes) const;

    /// The reverse of decode. Cost: none for a text that is moved in and stays as it is.
    ///
    /// @throws VdException if the encoding lacks a character of @p text.
    std::string encode(std::string text) const;

private:
    Encoding(std::string encodingName, std::string_view mark);

    std::string name;
    std::string byteOrderMark;
};

} // namespace ModelEditor
