#pragma once

#include "Benchmarks/Histories/Setting.h"

#include <utility>
#include <wx/cmdproc.h>

namespace Valdane::Benchmarks
{

/// wxWidgets' command processor. It has no signals, so nobody listens.
class WxHistory
{
public:
    static constexpr const char* name = "wxCommandProcessor";

    explicit WxHistory(const Setting& setting)
        : processor(setting.limit == 0 ? -1 : static_cast<int>(setting.limit))
    {
    }

    void push(int value)
    {
        processor.Submit(new SetNumber(number, value));
    }

    void undo()
    {
        processor.Undo();
    }

    void redo()
    {
        processor.Redo();
    }

private:
    class SetNumber : public wxCommand
    {
    public:
        SetNumber(int& target, int value) : wxCommand(true, commandText), number(target), newValue(value) {}

        bool Do() override
        {
            oldValue = std::exchange(number, newValue);
            return true;
        }

        bool Undo() override
        {
            number = oldValue;
            return true;
        }

    private:
        int& number;
        int newValue;
        int oldValue = 0;
    };

    int number = 0;
    wxCommandProcessor processor;
};

} // namespace Valdane::Benchmarks
