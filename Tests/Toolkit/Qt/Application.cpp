#include <gtest/gtest.h>

#include <QApplication>
#include <memory>

namespace
{

// There is one application in a process, and widgets need it.
class ApplicationEnvironment : public testing::Environment
{
public:
    void SetUp() override
    {
        application = std::make_unique<QApplication>(count, arguments);
    }

    void TearDown() override
    {
        application.reset();
    }

private:
    int count = 1;
    char name[8] = "QtTests";
    char* arguments[2] = {name, nullptr};
    std::unique_ptr<QApplication> application;
};

[[maybe_unused]] testing::Environment* const environment =
    testing::AddGlobalTestEnvironment(new ApplicationEnvironment);

} // namespace
