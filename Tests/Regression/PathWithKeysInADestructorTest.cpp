// An object that resolved a path asked for a shared pointer to itself even if the path had keys and the pointer
// played no part. So a derived class could not resolve a path to one of its children in its constructor and its
// destructor, although its children are there and only the path without keys is documented to throw then.

#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Valdane
{
namespace
{

std::string keyAt(Object& object, const Path& path)
{
    const std::shared_ptr<Object> found = object.getObject(path, GetObjectBehavior::EmptyIfMissing);
    return found == nullptr ? "none" : found->getKey();
}

class Pump : public Object
{
public:
    explicit Pump(std::string& keysSeen) : Object("pump"), keys(keysSeen)
    {
        addChild(std::make_shared<Object>("motor"));
        findChild("motor")->addChild(std::make_shared<Object>("rotor"));
        look();
    }

    Pump(const Pump&) = delete;
    Pump& operator=(const Pump&) = delete;

    ~Pump() override
    {
        look();
    }

private:
    void look()
    {
        keys += keyAt(*this, Path({"motor"})) + " " + keyAt(*this, Path({"motor", "rotor"})) + " " +
                keyAt(*this, Path({"motor"}, "speed")) + " " + keyAt(*this, Path({"valve", "rotor"})) + "\n";
        EXPECT_THROW(keyAt(*this, Path()), std::bad_weak_ptr);
        EXPECT_THROW(keyAt(*this, Path({}, "speed")), std::bad_weak_ptr);
    }

    std::string& keys;
};

TEST(PathWithKeysInADestructor, LeadsToTheChildrenThatAreStillThere)
{
    std::string keys;
    std::make_shared<Pump>(keys).reset();
    EXPECT_EQ(keys, "motor rotor motor none\nmotor rotor motor none\n");
}

} // namespace
} // namespace Valdane
