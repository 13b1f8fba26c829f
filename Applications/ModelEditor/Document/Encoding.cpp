#include "Applications/ModelEditor/Document/Encoding.h"

#include "Applications/ModelEditor/Document/CodePoint.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <iconv.h>
#include <memory>
#include <type_traits>
#include <utility>

namespace ModelEditor
{

namespace
{

using namespace std::string_view_literals;

struct Signature
{
    std::string_view start;
    std::string_view encoding;
    bool isMark;
};

// The longer ones first: UTF-32 starts like UTF-16.
constexpr std::array signatures{
    Signature{"\xEF\xBB\xBF"sv, "UTF-8"sv, true},    Signature{"\xFF\xFE\0\0"sv, "UTF-32LE"sv, true},
    Signature{"\0\0\xFE\xFF"sv, "UTF-32BE"sv, true}, Signature{"\xFF\xFE"sv, "UTF-16LE"sv, true},
    Signature{"\xFE\xFF"sv, "UTF-16BE"sv, true},     Signature{"<\0\0\0"sv, "UTF-32LE"sv, false},
    Signature{"\0\0\0<"sv, "UTF-32BE"sv, false},     Signature{"<\0"sv, "UTF-16LE"sv, false},
    Signature{"\0<"sv, "UTF-16BE"sv, false},
};

std::string upperCase(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(),
                           [](char c)
                           { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return result;
}

// The value of `encoding` in the declaration, empty if there is none.
std::string_view declaredEncoding(std::string_view bytes)
{
    const auto end = bytes.find("?>");
    if (!bytes.starts_with("<?xml") || end == std::string_view::npos)
    {
        return {};
    }
    const auto declaration = bytes.substr(0, end);
    const auto keyword = declaration.find("encoding");
    const auto open = keyword == std::string_view::npos ? keyword : declaration.find_first_of("\"'", keyword);
    if (open == std::string_view::npos)
    {
        return {};
    }
    const auto close = declaration.find(declaration[open], open + 1);
    return close == std::string_view::npos ? std::string_view{}
                                           : declaration.substr(open + 1, close - open - 1);
}

// What is readable as ASCII so far as to say that it is in UTF-16 is not.
bool isUtf8(const std::string& upperName)
{
    return upperName.empty() || upperName == "UTF8" || upperName.starts_with("UTF-");
}

// So that nothing in it is an order to the converter, as `//TRANSLIT` is.
bool isNameOfEncoding(const std::string& name)
{
    return std::ranges::all_of(name,
                               [](char c)
                               {
                                   return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                                          (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
                               });
}

struct CloseConverter
{
    void operator()(iconv_t converter) const noexcept
    {
        iconv_close(converter);
    }
};

using Converter = std::unique_ptr<std::remove_pointer_t<iconv_t>, CloseConverter>;

Converter openConverter(const std::string& to, const std::string& from, const std::string& encoding)
{
    auto* const opened = isNameOfEncoding(encoding) ? iconv_open(to.c_str(), from.c_str()) : nullptr;
    Converter converter(std::bit_cast<std::intptr_t>(opened) == -1 ? nullptr : opened);
    if (converter == nullptr)
    {
        throw Valdane::VdException("the encoding " + encoding + " is not known");
    }
    return converter;
}

std::string convert(iconv_t converter, std::string_view text, const std::string& complaint)
{
    std::string result;
    std::string source(text);
    std::array<char, 65536> piece{};
    char* in = source.data();
    std::size_t left = source.size();
    while (left != 0)
    {
        char* out = piece.data();
        std::size_t room = piece.size();
        const bool failed = iconv(converter, &in, &left, &out, &room) == static_cast<std::size_t>(-1);
        result.append(piece.data(), piece.size() - room);
        if (failed && errno != E2BIG)
        {
            throw Valdane::VdException(complaint);
        }
    }
    return result;
}

} // namespace

Encoding::Encoding(std::string encodingName, std::string_view mark)
    : name(std::move(encodingName)), byteOrderMark(mark)
{
}

Encoding Encoding::of(std::string_view bytes)
{
    for (const auto& signature : signatures)
    {
        if (bytes.starts_with(signature.start))
        {
            return {std::string(signature.encoding), signature.isMark ? signature.start : ""sv};
        }
    }
    const std::string declared(declaredEncoding(bytes));
    return {isUtf8(upperCase(declared)) ? "UTF-8" : declared, ""sv};
}

const std::string& Encoding::getName() const noexcept
{
    return name;
}

bool Encoding::isUnicode() const noexcept
{
    return name.starts_with("UTF-");
}

bool Encoding::isAscii() const
{
    const auto upperName = upperCase(name);
    return upperName == "US-ASCII" || upperName == "ASCII";
}

std::size_t Encoding::findMissing(std::string_view text, std::size_t offset) const
{
    if (name == "UTF-8")
    {
        return std::string_view::npos;
    }
    const auto rest = text.substr(offset);
    if (isAscii())
    {
        const auto* const found =
            std::ranges::find_if(rest, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
        return found == rest.end() ? std::string_view::npos : static_cast<std::size_t>(found - text.begin());
    }
    const auto converter = openConverter(name, "UTF-8", name);
    std::array<char, 65536> piece{};
    // The function that takes it only reads it.
    char* in = const_cast<char*>(rest.data()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    std::size_t left = rest.size();
    while (left != 0)
    {
        char* out = piece.data();
        std::size_t room = piece.size();
        if (iconv(converter.get(), &in, &left, &out, &room) == static_cast<std::size_t>(-1) && errno != E2BIG)
        {
            return text.size() - left;
        }
    }
    return std::string_view::npos;
}

void Encoding::requireAll(std::string_view text, const std::string& where) const
{
    const auto missing = findMissing(text);
    if (missing != std::string_view::npos)
    {
        const auto character = firstCodePoint(text.substr(missing)).value_or(CodePoint{});
        throw Valdane::VdException("the encoding " + name + " lacks " + nameOfCharacter(character.value) +
                                   ", " + where);
    }
}

std::string Encoding::decode(std::string_view bytes) const
{
    bytes.remove_prefix(byteOrderMark.size());
    if (name == "UTF-8" || isAscii())
    {
        return std::string(bytes);
    }
    const auto converter = openConverter("UTF-8", name, name);
    std::string text = convert(converter.get(), bytes, "the file is not in its encoding " + name);
    // Some encodings have several ways to write a text. A file must be saved as it was where nothing was edited.
    if (std::string_view(encode(text)).substr(byteOrderMark.size()) != bytes)
    {
        throw Valdane::VdException("the file could not be saved as it is in its encoding " + name);
    }
    return text;
}

std::string Encoding::encode(std::string text) const
{
    if (name == "UTF-8" || isAscii())
    {
        text.insert(0, byteOrderMark);
        return text;
    }
    const auto converter = openConverter(name, "UTF-8", name);
    return byteOrderMark +
           convert(converter.get(), text, "the encoding " + name + " lacks a character that is used");
}

} // namespace ModelEditor
