#include "Platform/GeneralServices/NameInterface.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

namespace
{

using Valdane::NameInterface;

class Part
{
public:
    Part() = default;
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;
    virtual ~Part() = default;
};

class NamedPart : public Part, public NameInterface
{
public:
    std::string getName() const override
    {
        return name;
    }

    void setName(const std::string& newName, bool notify) override
    {
        name = newName;
        notifications += notify ? 1 : 0;
    }

    std::string name = "pump";
    int notifications = 0;
};

TEST(NameInterface, IsFoundAtRunTimeAndReachesTheImplementingObject)
{
    static_assert(std::is_abstract_v<NameInterface> && std::has_virtual_destructor_v<NameInterface>);
    const auto part = std::make_shared<NamedPart>();
    const std::shared_ptr<Part> base = part;
    const auto named = std::dynamic_pointer_cast<NameInterface>(base);
    ASSERT_NE(named, nullptr);
    EXPECT_EQ(named->getName(), "pump");
    named->setName("valve", true);
    named->setName("tank", false);
    EXPECT_EQ(part->name, "tank");
    EXPECT_EQ(part->notifications, 1);
    EXPECT_EQ(std::dynamic_pointer_cast<NameInterface>(std::make_shared<Part>()), nullptr);
}

} // namespace
