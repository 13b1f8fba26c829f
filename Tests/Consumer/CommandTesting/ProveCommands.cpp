// What an application does with the installed testing kit: it proves a command, and finds the mistake of another one,
// which shows only if an allocation fails.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandTesting/CommandKit.h"

#include <iostream>
#include <list>
#include <memory>
#include <string>

namespace
{

struct Playlist
{
    std::list<std::string> songs{"Prelude"};
    int minutes = 3;
};

class AddSong : public Valdane::CommandBase
{
public:
    explicit AddSong(Playlist& extendedList) : CommandBase("Add song"), list(extendedList) {}

    void execute() override
    {
        list.songs.emplace_back("Nocturne");
        list.minutes += 4;
    }

    void undo() override
    {
        list.songs.pop_back();
        list.minutes -= 4;
    }

protected:
    Playlist& list;
};

// If there is no memory for the song, its minutes stay.
class CountBeforeAdding : public AddSong
{
public:
    using AddSong::AddSong;

    void execute() override
    {
        list.minutes += 4;
        list.songs.emplace_back("Nocturne");
    }
};

std::string textOf(const Playlist& list)
{
    std::string text = "minutes " + std::to_string(list.minutes) + "\n";
    for (const std::string& song : list.songs)
    {
        text += song + "\n";
    }
    return text;
}

} // namespace

int main()
{
    const Valdane::CommandKit<Playlist> kit([] { return std::make_unique<Playlist>(); }, textOf);
    std::cout << kit.all([](Playlist& list) { return std::make_shared<AddSong>(list); });
    std::cout << kit.failures([](Playlist& list) { return std::make_shared<CountBeforeAdding>(list); });
}
