// The model editor on large models in memory, and pugixml's own loading and saving of the same bytes.

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Benchmarks/Each.h"

#include <pugixml.hpp>

#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

namespace Valdane::Benchmarks
{
namespace
{

using ModelEditor::Editor;
using ModelEditor::XmlModel;

/// What both sides are to keep of a file.
constexpr unsigned int parseFlags = pugi::parse_full | pugi::parse_ws_pcdata;

struct Fleet
{
    std::string bytes;
    std::size_t attributes = 0; ///< that are set
};

/// Robots with ten joints each, of about @p megabytes; every fifth joint has an attribute `set`, but not more
/// than 100,000.
Fleet makeFleet(std::int64_t megabytes)
{
    Fleet fleet{.bytes = "<?xml version=\"1.0\"?>\n<fleet name=\"fleet\">\n"};
    const auto size = static_cast<std::size_t>(megabytes) * 1'000'000;
    fleet.bytes.reserve(size + 2000);
    for (int robot = 0; fleet.bytes.size() < size; ++robot)
    {
        fleet.bytes += "  <robot name=\"robot" + std::to_string(robot) + "\">\n";
        for (int joint = 0; joint < 10; ++joint)
        {
            const bool isSet = joint % 5 == 0 && fleet.attributes < 100'000;
            fleet.attributes += isSet ? 1 : 0;
            fleet.bytes += "    <joint name=\"joint" + std::to_string(joint) +
                           R"(" type="revolute" lower="-3.14159" upper="3.14159" velocity="2.16")" +
                           (isSet ? " set=\"0\"" : "") + "/>\n";
        }
        fleet.bytes += "  </robot>\n";
    }
    fleet.bytes += "</fleet>\n";
    return fleet;
}

/// Has pugixml write into a string, as the editor does.
struct StringWriter : pugi::xml_writer
{
    void write(const void* data, std::size_t size) override
    {
        text.append(static_cast<const char*>(data), size);
    }

    std::string text;
};

void load(pugi::xml_document& document, const Fleet& fleet)
{
    if (!document.load_buffer(fleet.bytes.data(), fleet.bytes.size(), parseFlags))
    {
        throw std::runtime_error("the fleet is not well-formed");
    }
}

struct World
{
    XmlModel model;
    std::ostringstream out;
    Editor editor;

    explicit World(const std::string& bytes)
        : model(bytes, "fleet.xml"),
          editor(
              model, [](ModelEditor::Output) {}, out)
    {
    }

    void setAll()
    {
        editor.run("set //joint/@set 1");
    }
};

void openModel(benchmark::State& state)
{
    const Fleet fleet = makeFleet(state.range(0));
    std::unique_ptr<XmlModel> model;
    for ([[maybe_unused]] auto iteration : state)
    {
        state.PauseTiming();
        model.reset();
        state.ResumeTiming();
        model = std::make_unique<XmlModel>(fleet.bytes, "fleet.xml");
    }
}

void loadByPugixml(benchmark::State& state)
{
    const Fleet fleet = makeFleet(state.range(0));
    std::unique_ptr<pugi::xml_document> document;
    for ([[maybe_unused]] auto iteration : state)
    {
        state.PauseTiming();
        document.reset();
        state.ResumeTiming();
        document = std::make_unique<pugi::xml_document>();
        load(*document, fleet);
    }
}

void setAttributes(benchmark::State& state)
{
    const Fleet fleet = makeFleet(state.range(0));
    measureEach(
        state, fleet.attributes, [&] { return std::make_unique<World>(fleet.bytes); },
        [](World& world) { world.setAll(); });
}

void undoAttributes(benchmark::State& state)
{
    const Fleet fleet = makeFleet(state.range(0));
    const auto prepare = [&]
    {
        auto world = std::make_unique<World>(fleet.bytes);
        world->setAll();
        return world;
    };
    measureEach(state, fleet.attributes, prepare, [](World& world) { world.editor.run("undo"); });
}

void saveModel(benchmark::State& state)
{
    World world(makeFleet(state.range(0)).bytes);
    world.setAll();
    for ([[maybe_unused]] auto iteration : state)
    {
        benchmark::DoNotOptimize(world.model.toBytes());
    }
}

void saveByPugixml(benchmark::State& state)
{
    pugi::xml_document document;
    load(document, makeFleet(state.range(0)));
    for ([[maybe_unused]] auto iteration : state)
    {
        StringWriter saved;
        document.save(saved, "", pugi::format_raw);
        benchmark::DoNotOptimize(saved.text);
    }
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("megabytes")->Arg(5)->Arg(50)->Unit(benchmark::kMillisecond);
}

BENCHMARK(openModel)->Apply(sizes);
BENCHMARK(loadByPugixml)->Apply(sizes);
BENCHMARK(setAttributes)->Apply(sizes)->UseManualTime();
BENCHMARK(undoAttributes)->Apply(sizes)->UseManualTime();
BENCHMARK(saveModel)->Apply(sizes);
BENCHMARK(saveByPugixml)->Apply(sizes);

} // namespace
} // namespace Valdane::Benchmarks
