#include "Applications/ModelEditor/Document/NamespacePrefixes.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

// The XPath of the parser knows no namespaces: it compares names as they are written. But it has the functions
// namespace-uri() and local-name(), so that `m:a` can be written as `*[local-name()='a' and namespace-uri()='...']`. A
// predicate behind it counts the same nodes then as behind the name.

namespace ModelEditor
{

namespace
{

bool isAddressNameStart(char c)
{
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    return isLetter || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool isAddressNameCharacter(char c)
{
    return isAddressNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

std::size_t findAddressNameEnd(std::string_view text, std::size_t start)
{
    return static_cast<std::size_t>(std::find_if_not(text.begin() + static_cast<std::ptrdiff_t>(start),
                                                     text.end(), isAddressNameCharacter) -
                                    text.begin());
}

char characterAt(std::string_view text, std::size_t index)
{
    return index < text.size() ? text[index] : '\0';
}

std::string quotedUri(const std::string& uri)
{
    const std::string quote = uri.find('\'') == std::string::npos ? "'" : "\"";
    return quote + uri + quote;
}

// Writes an XPath again, token by token.
class AddressRewriting
{
public:
    AddressRewriting(std::string_view xpath, const NamespacePrefixes& known) : text(xpath), prefixes(known) {}

    std::string write()
    {
        while (position < text.size())
        {
            const char c = text[position];
            if (c == '\'' || c == '"')
            {
                const auto close = std::min(text.find(c, position + 1), text.size() - 1);
                copyUpTo(close + 1);
            }
            else if (c == '$')
            {
                // The name of a variable is no name of a node.
                copyUpTo(findAddressNameEnd(text, position + 1));
            }
            else if (isAddressNameStart(c))
            {
                writeName();
            }
            else
            {
                // A number goes as a whole, so that letters behind its digits start no name.
                const bool isNumber = isAddressNameCharacter(c) && c != '-' && c != '.';
                copyUpTo(isNumber ? findAddressNameEnd(text, position) : position + 1);
            }
        }
        return written;
    }

private:
    void copyUpTo(std::size_t end)
    {
        written += text.substr(position, end - position);
        position = end;
    }

    // `a:b` and `a:*`; not the axis of `a::b`, nor a name without prefix.
    void writeName()
    {
        const auto colon = findAddressNameEnd(text, position);
        const bool isPart = characterAt(text, colon) == ':';
        const char local = characterAt(text, colon + 1);
        if (!isPart || (!isAddressNameStart(local) && local != '*'))
        {
            copyUpTo(isPart && local == ':' ? colon + 2 : colon);
            return;
        }
        const auto end = local == '*' ? colon + 2 : findAddressNameEnd(text, colon + 1);
        const auto prefix = prefixes.find(std::string(text.substr(position, colon - position)));
        if (prefix == prefixes.end())
        {
            copyUpTo(end);
            return;
        }
        const auto name = std::string(text.substr(colon + 1, end - colon - 1));
        written += "*[" + (name == "*" ? "" : "local-name()='" + name + "' and ") +
                   "namespace-uri()=" + quotedUri(prefix->second) + "]";
        position = end;
    }

    std::string_view text;
    const NamespacePrefixes& prefixes;
    std::size_t position = 0;
    std::string written;
};

} // namespace

bool isPrefix(const std::string& prefix)
{
    return !prefix.empty() && isAddressNameStart(prefix.front()) &&
           findAddressNameEnd(prefix, 0) == prefix.size();
}

std::string withNamespaces(const std::string& xpath, const NamespacePrefixes& prefixes)
{
    return prefixes.empty() ? xpath : AddressRewriting(xpath, prefixes).write();
}

} // namespace ModelEditor
