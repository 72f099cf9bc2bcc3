// How long parsing and editing a large real settings file takes: the installer parses it
// again after every splice, so an install costs a few dozen parses.
#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>

#include "hooks/install/HookConfigEditor.h"
#include "hooks/json/JSONSourceParser.h"

namespace vigilmoth {
namespace {

std::string largeSettings() {
    std::ifstream stream(std::string(VIGILMOTH_SOURCE_DIR) +
                             "/tests/fixtures/settings/claude/41-gwenwindflower-dotfiles.json",
                         std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void parseLargeSettings(benchmark::State& state) {
    const auto text = largeSettings();
    for (auto _ : state)
        benchmark::DoNotOptimize(JSONSourceParser::parse(text));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(parseLargeSettings);

void installAndRemoveClaude(benchmark::State& state) {
    const auto text = largeSettings();
    const auto& entry = *HookCatalog::entry("claude");
    for (auto _ : state) {
        HookInstallRecord record;
        auto installed = HookConfigEditor::installing(text, entry, "/opt/vigilmoth", record);
        benchmark::DoNotOptimize(HookConfigEditor::uninstalling(installed, entry, record, true));
    }
}
BENCHMARK(installAndRemoveClaude)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vigilmoth
