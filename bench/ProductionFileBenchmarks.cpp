// Saving and loading the production scene (ProductionScene.h) through the studio's own path: a
// scene file in a temporary folder written by XSceneFile::save (the atomic writer) and read back
// by XSceneFile::load into a fresh database. Budget: save under 2 s, load under 5 s, and the whole
// process under 1.5 GB of peak resident memory.

#include "ProductionScene.h"

#include <velxcore/XSceneFile.h>

#include <velscenegraph/SceneGraphNodes.h>

#include "ResidentMemory.h"

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

using namespace prod;
namespace fs = std::filesystem;

using bench::residentBytes;
using bench::resetPeakResident;

// A folder of its own for the file, removed with everything in it.
struct TemporaryFolder {
    fs::path path;
    TemporaryFolder() {
        std::string pattern = (fs::temp_directory_path() / "velx-bench-prod-XXXXXX").string();
        if (::mkdtemp(pattern.data())) path = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ec;
        if (!path.empty()) fs::remove_all(path, ec);
    }
};

// The growth of the peak resident memory while `phase` runs; `peak` keeps the highest peak seen.
template <class Phase> double peakGrowth(bool& known, double& peak, Phase&& phase) {
    malloc_trim(0);
    const double before = residentBytes("VmRSS:");
    known = resetPeakResident() && known;
    phase();
    const double after = residentBytes("VmHWM:");
    peak = std::max(peak, after);
    return after - before;
}

void BM_ProdSaveLoad(benchmark::State& state) {
    ProductionScene& s = scene();
    const db::Database& source = *s.database;
    TemporaryFolder folder;
    if (folder.path.empty()) {
        state.SkipWithError("cannot make a temporary folder");
        return;
    }
    const std::string file = (folder.path / "production.velx").string();
    const db::AttrKey lastKey{s.curves.back(), slot(source, s.curves.back(), sg::Index::AnimKeys).slot, KeysPerCurve - 1, 1};
    const float lastValue = source.storedValue(lastKey).get<float>();

    // Building the scene (before any reset) is the first peak.
    const double buildPeak = residentBytes("VmHWM:");
    double saveSeconds = 0, loadSeconds = 0, saveGrowth = 0, loadGrowth = 0, filePeak = 0;
    // The load's phases, told by its progress reports: reading the file, parsing and checking it,
    // building the scene.
    double readSeconds = 0, parseSeconds = 0, buildSeconds = 0;
    bool peakKnown = true;
    for (auto _ : state) {
        std::string error;
        bool saved = false, loaded = false;
        saveGrowth = std::max(saveGrowth, peakGrowth(peakKnown, filePeak, [&] {
            const auto start = std::chrono::steady_clock::now();
            saved = VelX::XSceneFile::save(source, file, error);
            saveSeconds += secondsSince(start);
        }));
        if (!saved) {
            state.SkipWithError(("cannot save the production scene: " + error).c_str());
            return;
        }
        auto target = std::make_unique<db::Database>();
        sg::registerNodeTypes(*target);
        loadGrowth = std::max(loadGrowth, peakGrowth(peakKnown, filePeak, [&] {
            const auto start = std::chrono::steady_clock::now();
            double parsingFrom = 0, buildingFrom = 0;
            loaded = VelX::XSceneFile::load(*target, file, error, [&](const char* phase, std::size_t, std::size_t) {
                const std::string_view now(phase);
                if (now == "Parsing" && parsingFrom == 0) parsingFrom = secondsSince(start);
                if (now == "Building" && buildingFrom == 0) buildingFrom = secondsSince(start);
            });
            const double total = secondsSince(start);
            loadSeconds += total;
            readSeconds += parsingFrom;
            parseSeconds += buildingFrom - parsingFrom;
            buildSeconds += total - buildingFrom;
        }));
        if (!loaded) {
            state.SkipWithError(("cannot load the production scene: " + error).c_str());
            return;
        }
        // Every object (loading adds the settings objects the scene lacks), the last joint, and the
        // last key of the last curve where it was.
        const int curve = target->findPath(source.path(s.curves.back()));
        const bool complete = target->nodeCount() >= source.nodeCount() && curve > 0 &&
                              target->findPath(source.path(s.joints.back())) > 0 &&
                              target->storedValue(db::AttrKey{curve, lastKey.slot, lastKey.element, lastKey.child}).get<float>() == lastValue;
        if (!complete) {
            state.SkipWithError("the loaded scene differs from the saved one");
            return;
        }
    }
    std::error_code ec;
    const double n = static_cast<double>(state.iterations());
    state.counters["save_s"] = saveSeconds / n;
    state.counters["load_s"] = loadSeconds / n;
    state.counters["load_read_s"] = readSeconds / n;
    state.counters["load_parse_s"] = parseSeconds / n;
    state.counters["load_build_s"] = buildSeconds / n;
    state.counters["file_mb"] = static_cast<double>(fs::file_size(file, ec)) / 1e6;
    if (peakKnown) {
        state.counters["save_peak_rss_growth_mb"] = saveGrowth / 1e6;
        state.counters["load_peak_rss_growth_mb"] = loadGrowth / 1e6;
    }
    state.counters["build_peak_rss_mb"] = buildPeak / 1e6;
    if (peakKnown) state.counters["file_peak_rss_mb"] = filePeak / 1e6;
}
BENCHMARK(BM_ProdSaveLoad)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
