// The model editor on large models in memory, and pugixml's own loading and saving of the same bytes.

#include "Benchmarks/Each.h"
#include "Examples/ModelEditor/Editor.h"
#include "Examples/ModelEditor/XmlModel.h"

#include <pugixml.hpp>

#include <benchmark/benchmark.h>
#include <cstddef>
#include <memory>
#include <sstream>
#include <string>

namespace Valdane::Benchmarks
{
namespace
{

using ModelEditor::Editor;
using ModelEditor::XmlModel;

/// A fleet of robots with ten joints each, of about @p megabytes, in which 100,000 joints have an attribute `set`, or
/// a fifth of them if there are fewer.
std::string makeModel(std::int64_t megabytes)
{
    std::string model = "<?xml version=\"1.0\"?>\n<fleet name=\"fleet\">\n";
    const auto size = static_cast<std::size_t>(megabytes) * 1'000'000;
    model.reserve(size + 2000);
    int joints = 0;
    for (int robot = 0; model.size() < size; ++robot)
    {
        model += "  <robot name=\"robot" + std::to_string(robot) + "\">\n";
        for (int joint = 0; joint < 10; ++joint)
        {
            const bool isSet = joint % 5 == 0 && joints++ < 100'000;
            model += "    <joint name=\"joint" + std::to_string(joint) +
                     R"(" type="revolute" lower="-3.14159" upper="3.14159" velocity="2.16")" +
                     (isSet ? " set=\"0\"" : "") + "/>\n";
        }
        model += "  </robot>\n";
    }
    return model + "</fleet>\n";
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
    const std::string bytes = makeModel(state.range(0));
    std::unique_ptr<XmlModel> model;
    for ([[maybe_unused]] auto iteration : state)
    {
        state.PauseTiming();
        model.reset();
        state.ResumeTiming();
        model = std::make_unique<XmlModel>(bytes, "fleet.xml");
    }
}

void loadByPugixml(benchmark::State& state)
{
    const std::string bytes = makeModel(state.range(0));
    for ([[maybe_unused]] auto iteration : state)
    {
        pugi::xml_document document;
        document.load_buffer(bytes.data(), bytes.size(), pugi::parse_full);
        benchmark::DoNotOptimize(document.document_element());
    }
}

void setAttributes(benchmark::State& state)
{
    const std::string bytes = makeModel(state.range(0));
    measureEach(
        state, 100'000, [&] { return std::make_unique<World>(bytes); }, [](World& world) { world.setAll(); });
}

void undoAttributes(benchmark::State& state)
{
    const std::string bytes = makeModel(state.range(0));
    const auto prepare = [&]
    {
        auto world = std::make_unique<World>(bytes);
        world->setAll();
        return world;
    };
    measureEach(state, 100'000, prepare, [](World& world) { world.editor.run("undo"); });
}

void saveModel(benchmark::State& state)
{
    World world(makeModel(state.range(0)));
    world.setAll();
    for ([[maybe_unused]] auto iteration : state)
    {
        benchmark::DoNotOptimize(world.model.toBytes());
    }
}

void saveByPugixml(benchmark::State& state)
{
    const std::string bytes = makeModel(state.range(0));
    pugi::xml_document document;
    document.load_buffer(bytes.data(), bytes.size(), pugi::parse_full);
    for ([[maybe_unused]] auto iteration : state)
    {
        std::ostringstream saved;
        document.save(saved, "", pugi::format_raw | pugi::format_no_declaration);
        benchmark::DoNotOptimize(saved.str());
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
