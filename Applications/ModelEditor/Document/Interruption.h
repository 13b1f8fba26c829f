#pragma once

namespace ModelEditor
{

/// Whether somebody has asked to stop what is being looked for or shown.
///
/// Thread: one at a time.
class Interruption
{
public:
    Interruption() = default;
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    virtual ~Interruption();

    virtual bool isAsked() const noexcept = 0;

    /// What can be read when it was asked, perhaps also at other times: for poll().
    virtual int getDescriptor() const noexcept = 0;

    /// @throws VdException `interrupted` if it was asked.
    void check() const;
};

} // namespace ModelEditor
