#pragma once

#include "Service/CommandTesting/CommandTestingExport.h"

#include <concepts>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>

namespace Valdane
{

/// What a snapshot is made of: a value that can be copied, compared and printed. A text can.
template <typename Value>
concept SnapshotValue = std::copyable<Value> && std::equality_comparable<Value> &&
    requires(std::ostream& out, const Value& value)
{
    out << value;
};

/// The data of an application at one moment, as a value of the application's own.
///
/// Two snapshots are equal if their values are. If the values differ, their texts are compared line by line
/// to tell how; so a text of many lines makes a better report than one of one line.
///
/// Copies share the value. Thread: any, if the value can be read by any.
class VALDANE_COMMANDTESTING_EXPORT Snapshot
{
public:
    /// Keeps @p value, which must not refer to the data: they change.
    template <typename Value>

    requires(!std::same_as<Value, Snapshot> && SnapshotValue<Value>) explicit Snapshot(Value value)
        : kept(std::make_shared<const Kept<Value>>(std::move(value)))
    {
    }

    /// Whether the values are equal. Values of two types are not.
    bool operator==(const Snapshot& other) const;

    /// The value as it is printed.
    std::string toText() const;

    /// How @p found differs from this, the expected one: lines that are missing begin with "- ", lines that are
    /// there instead with "+ ". Lines that are the same are left out, except the one before each difference.
    /// Says so if the texts are the same though the values differ.
    std::string differenceTo(const Snapshot& found) const;

private:
    struct VALDANE_COMMANDTESTING_EXPORT Base
    {
        Base() = default;
        Base(const Base&) = delete;
        Base& operator=(const Base&) = delete;
        virtual ~Base();

        virtual bool equals(const Base& other) const = 0;
        virtual std::string toText() const = 0;
    };

    template <typename Value>
    struct Kept final : Base
    {
        explicit Kept(Value keptValue) : value(std::move(keptValue)) {}

        bool equals(const Base& other) const override
        {
            const auto* const same = dynamic_cast<const Kept*>(&other);
            return same != nullptr && same->value == value;
        }

        std::string toText() const override
        {
            std::ostringstream text;
            text << value;
            return std::move(text).str();
        }

        Value value;
    };

    std::shared_ptr<const Base> kept;
};

} // namespace Valdane
