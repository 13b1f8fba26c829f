#include "Applications/ModelEditor/Document/MarkupWarnings.h"

#include "Applications/ModelEditor/Document/CodePoint.h"
#include "Applications/ModelEditor/Document/Encoding.h"
#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/MarkupPiece.h"

#include <algorithm>
#include <array>
#include <compare>
#include <cstdio>
#include <set>
#include <utility>

namespace ModelEditor
{

namespace
{

constexpr const char* cannotBeHeld = ", a character that XML cannot hold";

struct Finding
{
    std::size_t offset;
    std::string what;

    auto operator<=>(const Finding&) const = default;
};

/// The first findings of one pass, and how many there were.
struct Findings
{
    std::vector<Finding> first;
    std::size_t count = 0;

    // There may be millions: only of the first a text is made.
    template <typename Tell>
    void add(std::size_t offset, const Tell& tell)
    {
        ++count;
        if (first.size() < MarkupWarnings::most)
        {
            first.push_back({.offset = offset, .what = tell()});
        }
    }
};

std::array<bool, 256> makePlainBytes()
{
    std::array<bool, 256> plain{};
    std::fill(plain.begin() + ' ', plain.begin() + 0x80, true);
    for (const char c : {'\t', '\n', '\r'})
    {
        plain.at(static_cast<unsigned char>(c)) = true;
    }
    return plain;
}

std::string wrongByte(char byte)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "the byte 0x%02X is no UTF-8", static_cast<unsigned char>(byte));
    return text.data();
}

Findings findWrongCharacters(std::string_view text, const Encoding& encoding)
{
    static const std::array<bool, 256> plain = makePlainBytes();
    // From other encodings the text was converted, so that they have all of it.
    const bool isAscii = encoding.isAscii();
    Findings found;
    std::size_t place = 0;
    // Of bytes that follow each other, one is told.
    std::size_t behindWrong = std::string_view::npos;
    while (true)
    {
        while (place < text.size() && plain[static_cast<unsigned char>(text[place])])
        {
            ++place;
        }
        if (place == text.size())
        {
            return found;
        }
        const auto next = firstCodePoint(text.substr(place, 4));
        if (!next && place != behindWrong)
        {
            found.add(place, [&] { return wrongByte(text[place]); });
        }
        else if (next && !isXmlCharacter(next->value))
        {
            found.add(place, [&] { return nameOfCharacter(next->value) + cannotBeHeld; });
        }
        else if (next && next->length > 1 && isAscii)
        {
            found.add(
                place, [&]
                { return nameOfCharacter(next->value) + " is not in the encoding " + encoding.getName(); });
        }
        place += next ? next->length : 1;
        behindWrong = next ? behindWrong : place;
    }
}

/// The entities that the document types declare.
class Entities
{
public:
    void read(std::string_view documentType)
    {
        const auto subset = documentType.find('[');
        const auto head = documentType.substr(0, subset);
        areAllKnown = areAllKnown && head.find("SYSTEM") == std::string_view::npos &&
                      head.find("PUBLIC") == std::string_view::npos;
        for (auto place = subset; place < documentType.size(); ++place)
        {
            const auto rest = documentType.substr(place);
            if (rest.starts_with("<!--"))
            {
                place = std::min(documentType.find("-->", place + 4), documentType.size());
            }
            else if (rest.starts_with("<!ENTITY"))
            {
                declare(rest.substr(std::string_view("<!ENTITY").size()));
            }
            else if (rest.size() > 1 && rest[0] == '%' && !isBlank(rest.substr(1, 1)))
            {
                // A parameter entity: whatever that brings along.
                areAllKnown = false;
            }
        }
    }

    bool mayKnow(std::string_view name) const
    {
        return !areAllKnown || names.contains(name);
    }

private:
    void declare(std::string_view declaration)
    {
        declaration.remove_prefix(std::min(declaration.find_first_not_of(" \t\r\n"), declaration.size()));
        names.emplace(declaration.substr(0, declaration.find_first_of(" \t\r\n>")));
    }

    std::set<std::string, std::less<>> names{"amp", "lt", "gt", "quot", "apos"};
    bool areAllKnown = true;
};

/// Goes through the pieces of a text.
class MarkupPass
{
public:
    MarkupPass(std::string_view declarations, std::string_view passed) : text(declarations)
    {
        (void)run();
        text = passed;
    }

    bool mayKnow(std::string_view entity) const
    {
        return entities.mayKnow(entity);
    }

    Findings run()
    {
        for (std::size_t offset = 0; offset < text.size();)
        {
            const auto piece = MarkupPiece::at(text, offset);
            look(piece, offset);
            offset += piece.text.size();
        }
        return std::exchange(found, {});
    }

private:
    void look(const MarkupPiece& piece, std::size_t offset)
    {
        switch (piece.kind)
        {
        case MarkupPiece::Kind::Text:
            lookAtReferences(piece.text, offset);
            lookFor("]]>", piece.text, offset, "]]> in a text");
            break;
        case MarkupPiece::Kind::Tag:
            hasElement = true;
            lookAtReferences(piece.text, offset);
            lookAtNames(piece.text, offset);
            break;
        case MarkupPiece::Kind::Comment:
            // The first two hyphens behind the start are to be the end.
            lookFor("--", piece.text.substr(4, piece.text.size() - 6), offset + 4, "-- in a comment");
            break;
        case MarkupPiece::Kind::Instruction:
            if (offset != 0 && piece.text.starts_with("<?xml") &&
                piece.text.find_first_of(" \t\r\n?", 5) == 5)
            {
                found.add(offset, [] { return "an XML declaration that is not at the start"; });
            }
            lookAtNames(piece.text.substr(0, piece.text.find_first_of(" \t\r\n?", 2)), offset);
            break;
        case MarkupPiece::Kind::DocumentType:
            lookAtDocumentType(piece.text, offset);
            break;
        default:
            break;
        }
    }

    void lookAtDocumentType(std::string_view type, std::size_t offset)
    {
        if (hasElement || hasType)
        {
            found.add(
                offset, [this]
                { return hasType ? "a second document type" : "a document type behind the root element"; });
        }
        hasType = true;
        entities.read(type);
    }

    void lookFor(std::string_view wanted, std::string_view piece, std::size_t offset, const char* what)
    {
        if (const auto place = piece.find(wanted); place != std::string_view::npos)
        {
            found.add(offset + place, [what] { return what; });
        }
    }

    // In ASCII the parser takes none that is wrong. What is no character at all is told as such.
    void lookAtNames(std::string_view piece, std::size_t offset)
    {
        char quote = '\0';
        for (std::size_t place = 0; place < piece.size(); ++place)
        {
            const char c = piece[place];
            if (quote != '\0' || c == '\'' || c == '"')
            {
                const char open = quote == '\0' ? c : quote;
                quote = quote == c ? '\0' : open;
                continue;
            }
            const auto next = firstCodePoint(piece.substr(place, 4));
            if (!next || next->length == 1 || !isXmlCharacter(next->value))
            {
                continue;
            }
            const bool isStart =
                std::string_view("</? \t\r\n'\"").find(piece[place - 1]) != std::string_view::npos;
            if (!(isStart ? isNameStart(next->value) : isNameCharacter(next->value)))
            {
                found.add(offset + place,
                          [&] {
                              return nameOfCharacter(next->value) +
                                     (isStart ? ", with which no name starts" : ", which no name has");
                          });
            }
            place += next->length - 1;
        }
    }

    void lookAtReferences(std::string_view piece, std::size_t offset)
    {
        for (auto place = piece.find('&'); place != std::string_view::npos;
             place = piece.find('&', place + 1))
        {
            const auto reference = referenceAt(piece.substr(place));
            const auto tell = [&](const char* what)
            {
                return [=]
                {
                    return "&" + std::string(reference) + ";" + what;
                };
            };
            if (reference.starts_with('#'))
            {
                const auto character = characterOf(reference);
                if (!character || !isXmlCharacter(*character))
                {
                    found.add(offset + place, tell(cannotBeHeld));
                }
            }
            else if (!reference.empty() && !entities.mayKnow(reference))
            {
                found.add(offset + place, tell(" is not declared"));
            }
        }
    }

    std::string_view text;
    Entities entities;
    bool hasElement = false;
    bool hasType = false;
    Findings found;
};

std::string textAt(const std::string& name, std::size_t line, std::size_t column, const std::string& what)
{
    return name + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + what;
}

} // namespace

std::vector<std::string> findEntities(std::string_view text)
{
    std::vector<std::string> names;
    for (auto place = text.find('&'); place != std::string_view::npos; place = text.find('&', place + 1))
    {
        const auto reference = referenceAt(text.substr(place));
        if (!reference.empty() && !reference.starts_with('#'))
        {
            names.emplace_back(reference);
        }
    }
    return names;
}

bool isDeclared(std::string_view name, std::string_view declarations)
{
    return MarkupPass(declarations, {}).mayKnow(name);
}

MarkupWarnings findWarnings(std::string_view text, const std::string& name, const Encoding& encoding,
                            std::string_view declarations)
{
    const auto characters = findWrongCharacters(text, encoding);
    const auto markup = MarkupPass(declarations, text).run();
    std::vector<Finding> all(characters.first);
    all.insert(all.end(), markup.first.begin(), markup.first.end());
    std::ranges::sort(all);
    all.resize(std::min(all.size(), MarkupWarnings::most), Finding{});
    MarkupWarnings warnings{.texts = {}, .count = characters.count + markup.count};
    std::size_t line = 1;
    std::size_t lineStart = 0;
    std::size_t counted = 0;
    for (const auto& [offset, what] : all)
    {
        for (; counted < offset; ++counted)
        {
            line += text[counted] == '\n' ? 1 : 0;
            lineStart = text[counted] == '\n' ? counted + 1 : lineStart;
        }
        warnings.texts.push_back(textAt(name, line, offset - lineStart + 1, what));
    }
    return warnings;
}

} // namespace ModelEditor
