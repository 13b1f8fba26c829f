#include "Platform/Parameterization/Object.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/GeneralServices/NameInterface.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Sanitizers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using Valdane::allocationCount;
using Valdane::AttributeDescription;
using Valdane::AttributeDescriptionBase;
using Valdane::DynamicAttributeCollection;
using Valdane::FailingAllocation;
using Valdane::GetObjectBehavior;
using Valdane::NameInterface;
using Valdane::Object;
using Valdane::Path;
using Valdane::RequestedPathType;
using Valdane::VdException;
using ValdaneTests::ElementsAre;
using namespace std::string_view_literals;

constexpr auto fromRoot = RequestedPathType::FromRoot;
constexpr auto emptyIfMissing = GetObjectBehavior::EmptyIfMissing;
/// Enough to overflow the stack many times over; the sanitizers are slow.
constexpr int deep = ValdaneTests::isSanitized ? 100'000 : 1'000'000;
constexpr int wide = 100'000;

std::shared_ptr<Object> make(const std::string& key)
{
    return std::make_shared<Object>(key);
}

std::shared_ptr<Object> addTo(Object& owner, const std::string& key)
{
    auto child = make(key);
    owner.addChild(child);
    return child;
}

std::vector<std::string> keysOf(const Object& object)
{
    std::vector<std::string> keys;
    for (const auto& child : object.getChildren())
    {
        keys.push_back(child->getKey());
    }
    return keys;
}

std::string messageOf(const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (const VdException& exception)
    {
        return exception.what();
    }
    return "no exception";
}

// Runs `action` with its first allocation failing, then its second, until it succeeds; `isUnchanged` is asked
// after each failure. Returns how often it failed.
std::size_t failuresUntilSuccess(const std::function<void()>& action,
                                 const std::function<bool()>& isUnchanged)
{
    for (std::size_t failures = 0;; ++failures)
    {
        try
        {
            const FailingAllocation failing(failures);
            action();
            return failures;
        }
        catch (const std::bad_alloc&)
        {
            EXPECT_TRUE(isUnchanged());
        }
    }
}

// robot -> arm -> tool, robot -> leg
class ObjectTree : public testing::Test
{
protected:
    std::shared_ptr<Object> robot = make("robot");
    std::shared_ptr<Object> arm = addTo(*robot, "arm");
    std::shared_ptr<Object> leg = addTo(*robot, "leg");
    std::shared_ptr<Object> tool = addTo(*arm, "tool");
};

// Tells when it dies, and what its children were then.
class Mortal : public Object
{
public:
    Mortal(const std::string& key, std::function<void(Mortal&)> lastWords)
        : Object(key), atDeath(std::move(lastWords))
    {
    }

    Mortal(const Mortal&) = delete;
    Mortal& operator=(const Mortal&) = delete;

    ~Mortal() override
    {
        atDeath(*this);
    }

    // An application's own way to hold another object, besides its children.
    std::shared_ptr<Object> held;

private:
    std::function<void(Mortal&)> atDeath;
};

class NamedObject : public Object, public NameInterface
{
public:
    using Object::Object;

    std::string getName() const override
    {
        return name;
    }

    void setName(const std::string& newName, bool /*notify*/) override
    {
        name = newName;
    }

private:
    std::string name;
};

TEST(Object, HasAKeyForLifeAndNothingElseAtFirst)
{
    const auto object = make("robot");
    EXPECT_EQ(object->getKey(), "robot");
    EXPECT_EQ(object->getOwner(), nullptr);
    EXPECT_THAT(object->getChildren(), IsEmpty());
    EXPECT_EQ(object->getChildCount(), 0U);
    EXPECT_EQ(object->findChild(""), nullptr);
    EXPECT_EQ(object->removeChild(""), nullptr);
    EXPECT_EQ(object->getDynamicAttributeCollection(), nullptr);
    EXPECT_EQ(object->getAttributeDescription(""), nullptr);
    EXPECT_FALSE(object->isApplyStandardRunning());
    EXPECT_EQ(object->getRootObjectAlt(), object);
    EXPECT_EQ(object->getPath(fromRoot), Path());
}

TEST(Object, TakesOneBlockOfMemoryWithAShortKey)
{
    static_assert(sizeof(Object) <= 96);
    std::string key = "short";
    const auto before = allocationCount();
    const auto object = std::make_shared<Object>(std::move(key));
    object->emitSigChanged();
    object->setDynamicAttributeCollection(nullptr);
    object->setApplyStandardRunning(true);
    EXPECT_EQ(allocationCount(), before + 1);
}

TEST(Object, IsNotCopiedAndNotMadeFromTextByAccident)
{
    static_assert(!std::is_copy_constructible_v<Object> && !std::is_copy_assignable_v<Object>);
    static_assert(!std::is_move_constructible_v<Object> && !std::is_move_assignable_v<Object>);
    static_assert(!std::is_convertible_v<std::string, Object>);
    static_assert(!std::is_default_constructible_v<Object>);
    static_assert(std::has_virtual_destructor_v<Object>);
}

TEST_F(ObjectTree, ChildrenAreInTheOrderOfAdditionAndFoundByKey)
{
    addTo(*robot, "antenna");
    EXPECT_THAT(keysOf(*robot), ElementsAre("arm", "leg", "antenna"));
    EXPECT_EQ(robot->getChildCount(), 3U);
    EXPECT_EQ(robot->findChild("leg"), leg);
    EXPECT_EQ(robot->findChild("tool"), nullptr);
}

TEST_F(ObjectTree, EveryObjectKnowsItsOwnerAndTheRoot)
{
    EXPECT_EQ(tool->getOwner(), arm);
    EXPECT_EQ(arm->getOwner(), robot);
    EXPECT_EQ(tool->getRootObjectAlt(), robot);
    EXPECT_EQ(robot->getRootObjectAlt(), robot);
}

TEST_F(ObjectTree, OwnsItsChildrenAndHoldsItsOwnerWeakly)
{
    const std::weak_ptr<Object> weakTool = tool;
    const std::weak_ptr<Object> weakRobot = robot;
    tool.reset();
    EXPECT_FALSE(weakTool.expired());
    robot.reset();
    EXPECT_TRUE(weakRobot.expired());
}

TEST_F(ObjectTree, RefusesAnEmptyPointerAsAChild)
{
    EXPECT_THAT(messageOf([&] { arm->addChild(nullptr); }), AllOf(HasSubstr("'/arm'"), HasSubstr("empty")));
    EXPECT_THAT(messageOf([&] { arm->replaceChild(nullptr); }),
                AllOf(HasSubstr("'/arm'"), HasSubstr("empty")));
}

TEST_F(ObjectTree, RefusesAChildWithAKeyThatItHasAlready)
{
    const auto second = make("arm");
    EXPECT_THAT(messageOf([&] { robot->addChild(second); }),
                AllOf(HasSubstr("'robot'"), HasSubstr("'arm'"), HasSubstr("already")));
    EXPECT_EQ(robot->findChild("arm"), arm);
    EXPECT_EQ(second->getOwner(), nullptr);
    EXPECT_THAT(keysOf(*robot), ElementsAre("arm", "leg"));
}

TEST_F(ObjectTree, RefusesAChildThatHasAnOwner)
{
    for (const auto& owner : {robot, arm, leg})
    {
        EXPECT_THAT(messageOf([&] { owner->addChild(tool); }),
                    AllOf(HasSubstr("'/arm/tool'"), HasSubstr("owner")));
    }
    EXPECT_EQ(tool->getOwner(), arm);
    EXPECT_EQ(leg->getChildCount(), 0U);
    addTo(*leg, "tool");
    EXPECT_THAT(messageOf([&] { leg->replaceChild(tool); }), HasSubstr("owner"));
    EXPECT_EQ(tool->getOwner(), arm);
    EXPECT_NE(leg->findChild("tool"), tool);
}

TEST_F(ObjectTree, RefusesACycle)
{
    for (const auto& owner : {robot, arm, tool})
    {
        EXPECT_THAT(messageOf([&] { owner->addChild(robot); }), HasSubstr("its own tree"));
        EXPECT_EQ(owner->findChild("robot"), nullptr);
    }
    EXPECT_EQ(robot->getOwner(), nullptr);
    const auto single = make("single");
    EXPECT_THAT(messageOf([&] { single->addChild(single); }), HasSubstr("its own tree"));
    EXPECT_EQ(single->getChildCount(), 0U);
    addTo(*tool, "robot");
    EXPECT_THAT(messageOf([&] { tool->replaceChild(robot); }), HasSubstr("its own tree"));
    EXPECT_NE(tool->findChild("robot"), robot);
}

TEST_F(ObjectTree, ATreeCanBecomePartOfAnotherOne)
{
    const auto factory = make("factory");
    const auto hall = addTo(*factory, "hall");
    hall->addChild(robot);
    EXPECT_EQ(tool->getRootObjectAlt(), factory);
    EXPECT_EQ(tool->getPath(fromRoot), Path({"hall", "robot", "arm", "tool"}));
}

TEST_F(ObjectTree, ARemovedChildIsTheRootOfWhatIsBelowIt)
{
    EXPECT_EQ(robot->removeChild("arm"), arm);
    EXPECT_EQ(arm->getOwner(), nullptr);
    EXPECT_EQ(tool->getRootObjectAlt(), arm);
    EXPECT_EQ(tool->getPath(fromRoot), Path({"tool"}));
    EXPECT_EQ(robot->findChild("arm"), nullptr);
    EXPECT_THAT(keysOf(*robot), ElementsAre("leg"));
    EXPECT_EQ(robot->removeChild("arm"), nullptr);
}

TEST_F(ObjectTree, AChildThatIsAddedAgainComesLast)
{
    robot->addChild(robot->removeChild("arm"));
    EXPECT_THAT(keysOf(*robot), ElementsAre("leg", "arm"));
    EXPECT_EQ(robot->findChild("arm"), arm);
    EXPECT_EQ(arm->getOwner(), robot);
    EXPECT_EQ(tool->getPath(fromRoot), Path({"arm", "tool"}));
}

TEST_F(ObjectTree, AllChildrenCanBeRemovedAndOthersAdded)
{
    robot->removeChild("arm");
    robot->removeChild("leg");
    EXPECT_EQ(robot->getChildCount(), 0U);
    EXPECT_THAT(robot->getChildren(), IsEmpty());
    addTo(*robot, "leg");
    EXPECT_THAT(keysOf(*robot), ElementsAre("leg"));
}

TEST_F(ObjectTree, AReplacementHasThePlaceAndThePathOfWhatItReplaced)
{
    const auto path = arm->getPath(fromRoot);
    const auto newArm = make("arm");
    EXPECT_EQ(robot->replaceChild(newArm), arm);
    EXPECT_THAT(keysOf(*robot), ElementsAre("arm", "leg"));
    EXPECT_EQ(robot->getObject(path, emptyIfMissing), newArm);
    EXPECT_EQ(newArm->getOwner(), robot);
    EXPECT_EQ(newArm->getPath(fromRoot), path);
    EXPECT_EQ(arm->getOwner(), nullptr);
    EXPECT_EQ(tool->getRootObjectAlt(), arm);
}

TEST_F(ObjectTree, AReplacedObjectCanBePutBack)
{
    const auto newArm = make("arm");
    const auto oldArm = robot->replaceChild(newArm);
    EXPECT_EQ(robot->replaceChild(oldArm), newArm);
    EXPECT_EQ(robot->getObject(tool->getPath(fromRoot), emptyIfMissing), tool);
}

TEST_F(ObjectTree, ReplacesNothingWithoutAChildOfTheSameKey)
{
    const auto wheel = make("wheel");
    EXPECT_THAT(messageOf([&] { robot->replaceChild(wheel); }),
                AllOf(HasSubstr("'robot'"), HasSubstr("'wheel'")));
    EXPECT_THAT(messageOf([&] { tool->replaceChild(wheel); }), HasSubstr("'wheel'"));
    EXPECT_EQ(wheel->getOwner(), nullptr);
    EXPECT_EQ(robot->getChildCount(), 2U);
}

TEST_F(ObjectTree, TheCopyOfTheChildrenLetsThemBeRemovedOnTheWay)
{
    for (const auto& child : robot->getChildren())
    {
        robot->removeChild(child->getKey());
    }
    EXPECT_EQ(robot->getChildCount(), 0U);
}

TEST_F(ObjectTree, IsUnchangedWhenMemoryRunsOutDuringAddition)
{
    for (const auto& owner : {robot, tool})
    {
        const auto before = owner->getChildren();
        const auto wheel = make("wheel");
        const auto failures = failuresUntilSuccess([&] { owner->addChild(wheel); },
                                                   [&]
                                                   {
                                                       return owner->getChildren() == before &&
                                                              owner->findChild("wheel") == nullptr &&
                                                              wheel->getOwner() == nullptr;
                                                   });
        EXPECT_GT(failures, 0U);
        EXPECT_EQ(owner->findChild("wheel"), wheel);
        EXPECT_EQ(wheel->getOwner(), owner);
    }
}

TEST_F(ObjectTree, PathsHaveTheKeysBelowTheRootAndLeadBack)
{
    EXPECT_EQ(robot->getPath(fromRoot), Path());
    EXPECT_EQ(arm->getPath(fromRoot), Path({"arm"}));
    EXPECT_EQ(tool->getPath(fromRoot), Path({"arm", "tool"}));
    for (const auto& object : {robot, arm, leg, tool})
    {
        EXPECT_EQ(robot->getObject(object->getPath(fromRoot), emptyIfMissing), object);
    }
}

TEST_F(ObjectTree, PathsOfAttributesStartAtTheGivenObject)
{
    EXPECT_EQ(tool->getPath(robot.get(), "mass", fromRoot), Path({"arm", "tool"}, "mass"));
    EXPECT_EQ(tool->getPath(arm.get(), "mass", fromRoot), Path({"tool"}, "mass"));
    EXPECT_EQ(tool->getPath(tool.get(), "mass", fromRoot), Path({}, "mass"));
    EXPECT_EQ(tool->getPath(nullptr, "mass", fromRoot), Path({"arm", "tool"}, "mass"));
    EXPECT_EQ(robot->getPath(nullptr, "", fromRoot), Path({}, ""));
}

TEST_F(ObjectTree, GivesNoPathFromAnObjectThatIsNotAboveAndNamesBoth)
{
    EXPECT_THAT(messageOf([&] { tool->getPath(leg.get(), "mass", fromRoot); }),
                AllOf(HasSubstr("'/arm/tool'"), HasSubstr("'/leg'"), HasSubstr("'robot'")));
    EXPECT_THAT(messageOf([&] { arm->getPath(tool.get(), "mass", fromRoot); }),
                AllOf(HasSubstr("'/arm'"), HasSubstr("'/arm/tool'")));
    const auto stranger = make("stranger");
    EXPECT_THAT(messageOf([&] { robot->getPath(stranger.get(), "mass", fromRoot); }),
                AllOf(HasSubstr("'robot'"), HasSubstr("'stranger'")));
}

TEST_F(ObjectTree, APathWithAnAttributeNameLeadsToItsObjectWhetherOrNotTheAttributeExists)
{
    EXPECT_EQ(robot->getObject(Path({"arm", "tool"}, "no such attribute"), emptyIfMissing), tool);
    EXPECT_EQ(robot->getObject(Path({}, "no such attribute"), emptyIfMissing), robot);
    EXPECT_EQ(robot->getObject(Path({"arm"}, "tool"), emptyIfMissing), arm);
}

TEST_F(ObjectTree, PathsAreFollowedFromTheObjectThatIsAsked)
{
    EXPECT_EQ(arm->getObject(Path({"tool"}), emptyIfMissing), tool);
    EXPECT_EQ(arm->getObject(Path(), emptyIfMissing), arm);
    EXPECT_EQ(arm->getObject(Path({"arm"}), emptyIfMissing), nullptr);
}

TEST_F(ObjectTree, APathWithAMissingKeyLeadsToNothing)
{
    EXPECT_EQ(robot->getObject(Path({"wing"}), emptyIfMissing), nullptr);
    EXPECT_EQ(robot->getObject(Path({"wing", "tool"}), emptyIfMissing), nullptr);
    EXPECT_EQ(robot->getObject(Path({"arm", "tool", "arm"}), emptyIfMissing), nullptr);
    EXPECT_EQ(robot->getObject(Path({"arm/tool"}), emptyIfMissing), nullptr);
    EXPECT_EQ(robot->getObject(Path({""}), emptyIfMissing), nullptr);
    EXPECT_EQ(robot->getObject(Path({"robot"}), emptyIfMissing), nullptr);
}

TEST(Object, AnyTextIsAKey)
{
    const std::vector<std::string_view> keys = {"",     "/",      "a/b", "\"",  "\\", "\n",
                                                "\0"sv, "a\0b"sv, "a",   "ä€😀", "."};
    const auto root = make("\"");
    for (const auto key : keys)
    {
        const auto child = addTo(*root, std::string(key));
        for (const auto below : keys)
        {
            addTo(*child, std::string(below));
        }
    }
    EXPECT_EQ(root->getChildCount(), keys.size());
    for (const auto key : keys)
    {
        for (const auto below : keys)
        {
            const auto object = root->getObject(Path({key, below}, "/"), emptyIfMissing);
            ASSERT_NE(object, nullptr);
            EXPECT_EQ(object->getKey(), below);
            EXPECT_EQ(object->getOwner(), root->findChild(key));
            EXPECT_EQ(object->getPath(fromRoot), Path({key, below}));
        }
    }
}

TEST_F(ObjectTree, RenamingAnObjectChangesNoPath)
{
    const auto named = std::make_shared<NamedObject>("part");
    tool->addChild(named);
    const auto below = addTo(*named, "screw");
    named->setName("before", true);
    const auto path = below->getPath(fromRoot);
    named->setName("after", true);
    EXPECT_EQ(below->getPath(fromRoot), path);
    EXPECT_EQ(path, Path({"arm", "tool", "part", "screw"}));
    EXPECT_EQ(robot->getObject(path, emptyIfMissing), below);
    EXPECT_EQ(robot->getObject(Path({"arm", "tool", "after"}), emptyIfMissing), nullptr);
    const auto asObject = robot->getObject(named->getPath(fromRoot), emptyIfMissing);
    EXPECT_EQ(std::dynamic_pointer_cast<NameInterface>(asObject), named);
}

TEST(Object, HasTheRootOnlyWhileThatIsHeldByASharedPointer)
{
    Object onTheStack("robot");
    EXPECT_THROW(onTheStack.getRootObjectAlt(), std::bad_weak_ptr);
    EXPECT_THROW(onTheStack.getObject(Path(), emptyIfMissing), std::bad_weak_ptr);
}

TEST(Object, FindsAndRemovesAnyOf100000Children)
{
    const auto root = make("root");
    for (int i = 0; i < wide; ++i)
    {
        addTo(*root, std::to_string(i));
    }
    for (int i = 0; i < wide; i += 2)
    {
        ASSERT_EQ(root->removeChild(std::to_string(i))->getKey(), std::to_string(i));
    }
    for (int i = 0; i < wide; ++i)
    {
        ASSERT_EQ(root->findChild(std::to_string(i)) != nullptr, i % 2 == 1);
    }
    const auto children = root->getChildren();
    ASSERT_EQ(children.size(), wide / 2U);
    EXPECT_EQ(children.front()->getKey(), "1");
    EXPECT_EQ(children.back()->getKey(), std::to_string(wide - 1));
}

TEST(Object, AddedAttributesAreFoundByTheirName)
{
    const auto object = make("robot");
    const auto mass = std::make_shared<AttributeDescription<double>>("mass", nullptr, nullptr);
    const auto unnamed = std::make_shared<AttributeDescription<int>>("", nullptr, nullptr);
    const auto odd = std::make_shared<AttributeDescription<int>>("/\"\n.ä", nullptr, nullptr);
    object->addAttributeDescription(mass);
    object->addAttributeDescription(unnamed);
    object->addAttributeDescription(odd);
    EXPECT_EQ(object->getAttributeDescription("mass"), mass);
    EXPECT_EQ(object->getAttributeDescription(""), unnamed);
    EXPECT_EQ(object->getAttributeDescription("/\"\n.ä"), odd);
    EXPECT_EQ(object->getAttributeDescription("colour"), nullptr);
}

TEST_F(ObjectTree, RefusesAnEmptyAttributeAndASecondOneOfTheSameName)
{
    const auto mass = std::make_shared<AttributeDescription<double>>("mass", nullptr, nullptr);
    const auto second = std::make_shared<AttributeDescription<int>>("mass", nullptr, nullptr);
    arm->addAttributeDescription(mass);
    EXPECT_THAT(messageOf([&] { arm->addAttributeDescription(nullptr); }),
                AllOf(HasSubstr("'/arm'"), HasSubstr("empty")));
    EXPECT_THAT(messageOf([&] { arm->addAttributeDescription(second); }),
                AllOf(HasSubstr("'/arm'"), HasSubstr("'mass'"), HasSubstr("already")));
    EXPECT_EQ(arm->getAttributeDescription("mass"), mass);
    EXPECT_EQ(second.use_count(), 1);
}

TEST(Object, KeepsTheVeryDynamicAttributeCollectionThatItWasGiven)
{
    const auto object = make("robot");
    const auto collection = std::make_shared<DynamicAttributeCollection>();
    object->setDynamicAttributeCollection(collection);
    EXPECT_EQ(object->getDynamicAttributeCollection(), collection);
    object->setDynamicAttributeCollection(nullptr);
    EXPECT_EQ(object->getDynamicAttributeCollection(), nullptr);
    EXPECT_EQ(collection.use_count(), 1);
}

TEST_F(ObjectTree, TellsItsOwnListenersOfAChangeAndNoOthers)
{
    std::vector<std::string> heard;
    const auto onArm = arm->connectToSigChanged([&] { heard.emplace_back("arm"); });
    auto onArmToo = arm->connectToSigChanged([&] { heard.emplace_back("arm too"); });
    const auto onRobot = robot->connectToSigChanged([&] { heard.emplace_back("robot"); });
    std::as_const(*arm).emitSigChanged();
    leg->emitSigChanged();
    tool->emitSigChanged();
    EXPECT_THAT(heard, ElementsAre("arm", "arm too"));
    onArmToo.disconnect();
    arm->emitSigChanged();
    EXPECT_THAT(heard, ElementsAre("arm", "arm too", "arm"));
}

TEST_F(ObjectTree, TellsNobodyWhenAttributesChildrenOrStatesAreSet)
{
    int heard = 0;
    const auto connection = arm->connectToSigChanged([&] { ++heard; });
    arm->setDynamicAttributeCollection(std::make_shared<DynamicAttributeCollection>());
    arm->setApplyStandardRunning(true);
    arm->addChild(make("wheel"));
    arm->removeChild("tool");
    arm->addAttributeDescription(std::make_shared<AttributeDescription<int>>("count", nullptr, nullptr));
    EXPECT_EQ(heard, 0);
}

TEST(Object, AListenerMayDestroyTheObjectThatTellsIt)
{
    auto object = make("robot");
    std::vector<std::string> heard;
    const auto first = object->connectToSigChanged(
        [&]
        {
            heard.emplace_back("first");
            object.reset();
        });
    const auto second = object->connectToSigChanged([&] { heard.emplace_back("second"); });
    object->emitSigChanged();
    EXPECT_EQ(object, nullptr);
    EXPECT_THAT(heard, ElementsAre("first"));
    EXPECT_FALSE(second.connected());
}

TEST(Object, RemembersWhetherStandardValuesAreBeingApplied)
{
    const auto object = make("robot");
    object->setApplyStandardRunning(true);
    EXPECT_TRUE(object->isApplyStandardRunning());
    object->setApplyStandardRunning(false);
    EXPECT_FALSE(object->isApplyStandardRunning());
}

// An application's object that keeps everything elsewhere.
class MirroredObject : public Object
{
public:
    using Object::Object;

    std::shared_ptr<Object> getObject(const Path& path, GetObjectBehavior behavior) override
    {
        calls.emplace_back("getObject");
        return Object::getObject(path, behavior);
    }

    std::shared_ptr<AttributeDescriptionBase> getAttributeDescription(const std::string& name) override
    {
        return std::make_shared<AttributeDescription<int>>("on demand: " + name, nullptr, nullptr);
    }

    std::shared_ptr<DynamicAttributeCollection> getDynamicAttributeCollection() override
    {
        calls.emplace_back("getDynamicAttributeCollection");
        return nullptr;
    }

    void setDynamicAttributeCollection(std::shared_ptr<DynamicAttributeCollection> /*collection*/) override
    {
        calls.emplace_back("setDynamicAttributeCollection");
    }

    void emitSigChanged() const override
    {
        calls.emplace_back("emitSigChanged");
    }

    bool isApplyStandardRunning() const override
    {
        calls.emplace_back("isApplyStandardRunning");
        return true;
    }

    void setApplyStandardRunning(const bool& /*running*/) override
    {
        calls.emplace_back("setApplyStandardRunning");
    }

    mutable std::vector<std::string> calls;
};

TEST(Object, AnApplicationMayTakeOverWhatCommandsAskAnObject)
{
    const auto mirrored = std::make_shared<MirroredObject>("robot");
    Object& object = *mirrored;
    EXPECT_EQ(object.getObject(Path(), emptyIfMissing), mirrored);
    EXPECT_EQ(object.getAttributeDescription("mass")->getName(), "on demand: mass");
    object.setDynamicAttributeCollection(std::make_shared<DynamicAttributeCollection>());
    EXPECT_EQ(object.getDynamicAttributeCollection(), nullptr);
    object.emitSigChanged();
    object.setApplyStandardRunning(false);
    EXPECT_TRUE(object.isApplyStandardRunning());
    EXPECT_THAT(mirrored->calls,
                ElementsAre("getObject", "setDynamicAttributeCollection", "getDynamicAttributeCollection",
                            "emitSigChanged", "setApplyStandardRunning", "isApplyStandardRunning"));
}

TEST_F(ObjectTree, AChildThatIsHeldElsewhereBecomesARootWhenItsOwnerDies)
{
    robot.reset();
    EXPECT_EQ(arm->getOwner(), nullptr);
    EXPECT_EQ(arm->getPath(fromRoot), Path());
    EXPECT_EQ(tool->getOwner(), arm);
    EXPECT_EQ(tool->getRootObjectAlt(), arm);
    arm.reset();
    EXPECT_EQ(tool->getOwner(), nullptr);
    EXPECT_EQ(tool->getRootObjectAlt(), tool);
    const auto other = make("other");
    other->addChild(tool);
    EXPECT_EQ(tool->getRootObjectAlt(), other);
}

TEST(Object, DiesBeforeItsChildrenAndStillSeesThemInItsDestructor)
{
    std::vector<std::string> deaths;
    const auto lastWords = [&deaths](Mortal& dying)
    {
        EXPECT_EQ(dying.getOwner(), nullptr);
        deaths.push_back(dying.getKey() + ":" + std::to_string(dying.getChildCount()));
        for (const auto& child : dying.getChildren())
        {
            EXPECT_EQ(child->getOwner(), nullptr);
            EXPECT_EQ(child->getPath(fromRoot), Path({child->getKey()}));
        }
    };
    auto root = std::make_shared<Mortal>("root", lastWords);
    const auto left = std::make_shared<Mortal>("left", lastWords);
    root->addChild(left);
    root->addChild(std::make_shared<Mortal>("right", lastWords));
    left->addChild(std::make_shared<Mortal>("leaf", lastWords));
    root.reset();
    EXPECT_THAT(deaths, ElementsAre("root:2", "right:0"));
    EXPECT_EQ(left->getChildCount(), 1U);
}

TEST(Object, DiesWithAllThatItsDestructorLetsGoOf)
{
    int deaths = 0;
    const auto count = [&deaths](Mortal&)
    {
        ++deaths;
    };
    auto root = std::make_shared<Mortal>("root", count);
    auto child = std::make_shared<Mortal>("child", count);
    root->addChild(child);
    child->addChild(std::make_shared<Mortal>("held by its owner's own means too", count));
    child->held = child->getChildren().front();
    root->held = std::make_shared<Mortal>("another tree", count);
    root->held->addChild(std::make_shared<Mortal>("child of the other tree", count));
    const std::weak_ptr<Object> weakChild = child;
    child.reset();
    root.reset();
    EXPECT_EQ(deaths, 5);
    EXPECT_TRUE(weakChild.expired());
}

TEST(Object, DiesInOneThreadIndependentlyOfTreesThatDieInAnother)
{
    int deathsThere = 0;
    const auto count = [&deathsThere](Mortal&)
    {
        ++deathsThere;
    };
    const auto destroyATree = [&]
    {
        auto other = std::make_shared<Mortal>("other", count);
        other->addChild(std::make_shared<Mortal>("child", count));
        other.reset();
        EXPECT_EQ(deathsThere, 2);
    };
    auto root = make("root");
    root->addChild(std::make_shared<Mortal>("child", [&](Mortal&) { std::thread(destroyATree).join(); }));
    root.reset();
    EXPECT_EQ(deathsThere, 2);
}

class DeepTree : public testing::Test
{
protected:
    DeepTree()
    {
        deepest = root;
        for (int i = 1; i < deep; ++i)
        {
            const auto next = std::make_shared<Mortal>("x", [this](Mortal&) { ++deaths; });
            deepest->addChild(next);
            deepest = next;
        }
    }

    int deaths = 0;
    std::shared_ptr<Object> root = std::make_shared<Mortal>("root", [this](Mortal&) { ++deaths; });
    std::shared_ptr<Object> deepest;
};

TEST_F(DeepTree, IsWalkedBothWaysInConstantStack)
{
    const auto path = deepest->getPath(root.get(), "mass", fromRoot);
    EXPECT_EQ(path.getKeys().size(), deep - 1U);
    EXPECT_EQ(root->getObject(path, emptyIfMissing), deepest);
    EXPECT_EQ(deepest->getRootObjectAlt(), root);
    EXPECT_THAT(messageOf([&] { deepest->addChild(root); }), HasSubstr("its own tree"));
}

TEST_F(DeepTree, DiesInConstantStack)
{
    deepest.reset();
    root.reset();
    EXPECT_EQ(deaths, deep);
}

TEST_F(DeepTree, DiesInConstantStackBelowAChildThatWasRemoved)
{
    auto child = root->removeChild("x");
    root->addChild(std::make_shared<Object>("x"));
    const std::weak_ptr<Object> weakDeepest = std::exchange(deepest, nullptr);
    child.reset();
    EXPECT_TRUE(weakDeepest.expired());
    EXPECT_EQ(deaths, deep - 1);
}

TEST_F(DeepTree, DiesAboveAnObjectThatIsHeldElsewhere)
{
    root.reset();
    EXPECT_EQ(deaths, deep - 1);
    EXPECT_EQ(deepest->getOwner(), nullptr);
    EXPECT_EQ(deepest->getRootObjectAlt(), deepest);
}

} // namespace
