// A command proved by the testing kit. You learn to give the kit a world and a snapshot, to read a report, and what a
// command must do when a call in it fails. No test framework is needed; with GoogleTest each report would be an
// EXPECT_TRUE(report) << report.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandTesting/CommandKit.h"

#include <spdlog/spdlog.h>

#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

namespace
{

using namespace Valdane;

struct Account
{
    int balance = 100;
    std::string lastEntry = "none";
};

// What the bank does on each booking, and what may fail.
using Notify = std::function<void()>;

// The first try: it books, then notifies. If that fails, the money has gone.
class Withdraw : public CommandBase
{
public:
    Withdraw(Account& bookedAccount, int amount, Notify notifyBank)
        : CommandBase("Withdraw " + std::to_string(amount)),
          account(bookedAccount),
          difference(-amount),
          notify(std::move(notifyBank))
    {
    }

    void execute() override
    {
        account.balance += difference;
        notify();
        account.lastEntry.swap(entry);
    }

    void undo() override
    {
        account.balance -= difference;
    }

protected:
    Account& account;
    int difference;
    Notify notify;
    std::string entry = "withdrawal";
};

// What may fail comes first, and undo takes back all that execute has done.
class SafeWithdraw : public Withdraw
{
public:
    using Withdraw::Withdraw;

    void execute() override
    {
        notify();
        book(difference);
    }

    void undo() override
    {
        book(-difference);
    }

private:
    void book(int amount)
    {
        account.balance += amount;
        account.lastEntry.swap(entry);
    }
};

} // namespace

int main()
{
    // The kit makes commands fail; their error lines would be printed, too.
    spdlog::set_level(spdlog::level::off);

    // The kit makes a new world for each trial, and compares snapshots of it.
    const CommandKit<Account> kit([] { return std::make_unique<Account>(); },
                                  [](const Account& account) {
                                      return "balance " + std::to_string(account.balance) + "\nlast entry " +
                                             account.lastEntry + "\n";
                                  });
    // The call that may fail has a name. Outside of a check failAt() does nothing.
    const auto notify = [&kit]
    {
        kit.failAt("notify the bank");
    };

    std::cout << kit.all([&](Account& account) { return std::make_shared<Withdraw>(account, 30, notify); });
    std::cout << kit.all([&](Account& account)
                         { return std::make_shared<SafeWithdraw>(account, 30, notify); });
}
