#pragma once

#include <string_view>

namespace ModelEditor
{

/// An open file, which is closed when this goes.
///
/// Thread: one at a time.
class Descriptor
{
public:
    /// Takes over what open() has given, which may be a failure: see isOpen().
    explicit Descriptor(int opened) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    bool isOpen() const noexcept;
    int get() const noexcept;

    /// Writes all of @p bytes where the file is. @return 0 or an error.
    int write(std::string_view bytes) const noexcept;

    /// Closes it: some file systems report only here that they could not write. @return 0 or an error.
    int close() noexcept;

private:
    int number;
};

} // namespace ModelEditor
