#include "Applications/ModelEditor/Document/FileAttributes.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace ModelEditor
{

namespace
{

using Attributes = std::map<std::string, std::string, std::less<>>;

// What the system call gives that writes to a buffer and answers how long that must be; nothing if it fails.
template <typename Call>
std::optional<std::string> textOf(Call call)
{
    const ssize_t length = call(nullptr, 0);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length < 0 || (length > 0 && call(text.data(), text.size()) != length))
    {
        return {};
    }
    return text;
}

// Nothing if this process may not see all of them.
std::optional<Attributes> attributesOf(const std::string& path)
{
    const auto names =
        textOf([&](char* buffer, std::size_t size) { return ::listxattr(path.c_str(), buffer, size); });
    if (!names)
    {
        return errno == ENOTSUP ? std::optional(Attributes()) : std::nullopt;
    }
    Attributes attributes;
    for (std::size_t start = 0; start < names->size(); start = names->find('\0', start) + 1)
    {
        const std::string name = names->c_str() + start;
        const auto value = textOf([&](char* buffer, std::size_t size)
                                  { return ::getxattr(path.c_str(), name.c_str(), buffer, size); });
        if (!value)
        {
            return {};
        }
        attributes.emplace(name, *value);
    }
    return attributes;
}

bool giveAttributes(const Descriptor& file, const Attributes& present, const Attributes& wanted)
{
    for (const auto& [name, value] : present)
    {
        if (!wanted.contains(name) && ::fremovexattr(file.get(), name.c_str()) != 0)
        {
            return false;
        }
    }
    return std::ranges::all_of(wanted,
                               [&](const auto& attribute)
                               {
                                   const auto& [name, value] = attribute;
                                   const auto found = present.find(name);
                                   const bool isSame = found != present.end() && found->second == value;
                                   return isSame || ::fsetxattr(file.get(), name.c_str(), value.data(),
                                                                value.size(), 0) == 0;
                               });
}

} // namespace

std::string takeAttributes(const Descriptor& file, const std::string& name, const std::string& old,
                           const struct stat& status)
{
    struct stat present = {};
    const bool isOwned = ::fstat(file.get(), &present) == 0 && present.st_uid == status.st_uid &&
                         present.st_gid == status.st_gid;
    if (!isOwned && ::fchown(file.get(), status.st_uid, status.st_gid) != 0)
    {
        return "its owner";
    }
    const auto wanted = attributesOf(old);
    const auto given = attributesOf(name);
    return wanted && given && giveAttributes(file, *given, *wanted) ? "" : "its extended attributes";
}

} // namespace ModelEditor
