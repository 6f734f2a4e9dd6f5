// Timing and memory benchmarks of the scene core: bulk creation, value writes, burst notification,
// change queries, undo of large deletions, scene file round trips and loading deep hierarchies.

#include "NotificationCounter.h"

#include <velxcore/XAttribute.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XDatabaseChange.h>
#include <velxcore/XObject.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>

#include "ResidentMemory.h"

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Bytes the allocator has handed out, including blocks served by mmap.
double heapBytes() {
    struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

std::unique_ptr<db::Database> makeDatabase() {
    auto database = std::make_unique<db::Database>();
    sg::registerNodeTypes(*database);
    return database;
}

db::AttrKey translateX(const db::Database& database, int id) {
    return db::AttrKey{id, database.node(id)->def().topLevelSlot(sg::Index::TranslateX)};
}

// Live objects of exactly the given type.
std::size_t countOfType(const db::Database& database, const db::NodeDef& def) {
    std::size_t count = 0;
    for (int id = 0; id < database.idLimit(); ++id) {
        const db::Node* n = database.node(id);
        if (n && &n->def() == &def) ++count;
    }
    return count;
}

int createTransform(db::Database& database, const std::string& name, int parent) {
    return database.create(sg::TransformNode::Def, name, parent);
}

// `parents` transforms under `root`, each with `children` child transforms; returns every id
// created, parents first within each family.
std::vector<int> createFamilies(db::Database& database, int root, int parents, int children) {
    std::vector<int> ids;
    ids.reserve(static_cast<std::size_t>(parents) * static_cast<std::size_t>(children + 1));
    for (int p = 0; p < parents; ++p) {
        int parent = createTransform(database, "t" + std::to_string(p), root);
        ids.push_back(parent);
        for (int c = 0; c < children; ++c) ids.push_back(createTransform(database, "c" + std::to_string(c), parent));
    }
    return ids;
}

// `parents` top-level transforms, each holding `chains` chains `depth` transforms deep.
void createChains(db::Database& database, int parents, int chains, int depth) {
    for (int p = 0; p < parents; ++p) {
        int parent = createTransform(database, "t" + std::to_string(p), db::Database::RootId);
        for (int c = 0; c < chains; ++c) {
            int link = parent;
            for (int d = 0; d < depth; ++d) link = createTransform(database, "c" + std::to_string(c), link);
        }
    }
}

constexpr std::size_t OneMillion = 1000000;

// Arg 0: 1,000 top-level transforms with 999 children each.
// Arg 1: 1,000 top-level transforms each holding 111 chains nine deep.
void BM_Create1M(benchmark::State& state) {
    const bool deep = state.range(0) != 0;
    double bytes = 0, bytesNoUndo = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto database = makeDatabase();
        const std::size_t countBefore = database->nodeCount();
        const double heapBefore = heapBytes();
        state.ResumeTiming();

        database->beginChangeBlock();
        if (deep)
            createChains(*database, 1000, 111, 9);
        else
            createFamilies(*database, db::Database::RootId, 1000, 999);
        database->endChangeBlock("create");

        state.PauseTiming();
        const double heapAfter = heapBytes();
        database->clearUndo();
        const double heapNoUndo = heapBytes();
        const std::size_t created = database->nodeCount() - countBefore;
        database.reset();
        if (created != OneMillion) {
            state.SkipWithError("wrong number of objects created");
            break;
        }
        bytes += (heapAfter - heapBefore) / OneMillion;
        bytesNoUndo += (heapNoUndo - heapBefore) / OneMillion;
        state.ResumeTiming();
    }
    const double n = static_cast<double>(state.iterations());
    if (n > 0) {
        state.counters["bytes_per_object"] = bytes / n;
        state.counters["bytes_per_object_no_undo"] = bytesNoUndo / n;
    }
}
BENCHMARK(BM_Create1M)->ArgName("deep")->Arg(0)->Arg(1)->Iterations(2)->Unit(benchmark::kMillisecond);

constexpr int TenThousand = 10000;

// 10,000 value edits in one block reach an observer as one notification.
void BM_BurstNotify10k(benchmark::State& state) {
    auto database = makeDatabase();
    std::vector<db::AttrKey> keys;
    database->beginChangeBlock();
    for (int i = 0; i < TenThousand; ++i)
        keys.push_back(translateX(*database, createTransform(*database, "t" + std::to_string(i), db::Database::RootId)));
    database->endChangeBlock("create");
    database->clearUndo();
    velxbench::NotificationCounter counter;
    database->addObserver(&counter);

    float value = 0.0f;
    for (auto _ : state) {
        state.PauseTiming();
        counter.reset();
        value += 1.0f;  // a new value every round, so no edit is a no-op
        state.ResumeTiming();

        database->beginChangeBlock();
        for (const db::AttrKey& key : keys) database->setValue(key, db::Value(value));
        database->endChangeBlock("burst");

        state.PauseTiming();
        const bool oneNotification = counter.count() == 1;
        const bool allEdits = counter.last() && counter.last()->changedNodes().size() == keys.size();
        database->clearUndo();
        state.ResumeTiming();
        if (!oneNotification) {
            state.SkipWithError("the burst did not arrive as exactly one notification");
            break;
        }
        if (!allEdits) {
            state.SkipWithError("the notification does not name every edited object");
            break;
        }
    }
    database->removeObserver(&counter);
}
BENCHMARK(BM_BurstNotify10k)->Iterations(20)->Unit(benchmark::kMillisecond);

// 10,000 float values written through the handle API in one change block, with their undo record,
// dirty propagation and the scene's one notification round; the time per value is reported.
void BM_SetValues10k(benchmark::State& state) {
    VelX::XScene scene;
    VelX::XDatabase& database = scene.Database();
    std::vector<VelX::XAttribute> attributes;
    database.BeginChangeBlock();
    for (int i = 0; i < TenThousand; ++i)
        attributes.push_back(database.CreateObject(L"Transform", L"t" + std::to_wstring(i)).Attribute(L"translateX"));
    database.EndChangeBlock(L"create");
    database.db().clearUndo();

    float value = 0.0f;
    bool refused = false;
    for (auto _ : state) {
        value += 1.0f;  // a new value every round, so no write is a no-op
        database.BeginChangeBlock();
        for (VelX::XAttribute& attribute : attributes) refused = attribute.SetFloat(value).WasRefused() || refused;
        database.EndChangeBlock(L"Set Value");
        state.PauseTiming();
        database.db().clearUndo();
        state.ResumeTiming();
    }
    if (refused) state.SkipWithError("a value was refused");
    state.counters["ns_per_value"] = benchmark::Counter(static_cast<double>(TenThousand),
                                                         benchmark::Counter::kIsIterationInvariantRate |
                                                             benchmark::Counter::kInvert);
}
BENCHMARK(BM_SetValues10k)->Iterations(50)->Unit(benchmark::kMillisecond);

// Asks a 10,000-edit change about 10,000 objects. Arg 0: none of them changed; arg 1: only the last.
void BM_IsObjectChanged10k(benchmark::State& state) {
    const bool lastChanged = state.range(0) != 0;
    VelX::XScene scene;
    VelX::XDatabase& xdb = scene.Database();
    db::Database& database = xdb.db();

    std::vector<int> edited, untouched;
    database.beginChangeBlock();
    for (int i = 0; i < TenThousand; ++i) {
        edited.push_back(createTransform(database, "edited" + std::to_string(i), db::Database::RootId));
        untouched.push_back(createTransform(database, "untouched" + std::to_string(i), db::Database::RootId));
    }
    database.endChangeBlock("create");

    velxbench::NotificationCounter counter;
    database.addObserver(&counter);
    database.beginChangeBlock();
    for (int id : edited) database.setValue(translateX(database, id), db::Value(1.0f));
    database.endChangeBlock("edit");
    database.removeObserver(&counter);
    if (counter.count() != 1 || !counter.last() || counter.last()->changedNodes().size() != edited.size()) {
        state.SkipWithError("the edit was not captured as one change");
        return;
    }
    const VelX::XDatabaseChange change(&xdb, counter.last());

    Velutils::Vector<VelX::XObject> objects;
    objects.reserve(TenThousand);
    for (int i = 0; i + 1 < TenThousand; ++i) objects.emplace_back(&xdb, untouched[static_cast<std::size_t>(i)]);
    objects.emplace_back(&xdb, lastChanged ? edited.back() : untouched.back());

    bool answer = false;
    for (auto _ : state) {
        answer = change.IsObjectChanged(objects);
        benchmark::DoNotOptimize(answer);
    }
    if (answer != lastChanged) state.SkipWithError("IsObjectChanged gave the wrong answer");
}
BENCHMARK(BM_IsObjectChanged10k)->ArgName("last_changed")->Arg(0)->Arg(1)->Iterations(200)->Unit(benchmark::kMillisecond);

constexpr int HundredThousand = 100000;

// Deletes 100,000 objects in one block and times the undo that brings them back.
// Arg 0: one top-level group with 100,000 descendants (100 children of 999 each).
// Arg 1: 100,000 top-level siblings deleted as one selection.
void BM_UndoDelete100k(benchmark::State& state) {
    const bool siblings = state.range(0) != 0;
    double deleteMs = 0, redoMs = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto database = makeDatabase();
        std::vector<int> doomed;
        database->beginChangeBlock();
        if (siblings) {
            for (int i = 0; i < HundredThousand; ++i)
                doomed.push_back(createTransform(*database, "t" + std::to_string(i), db::Database::RootId));
        } else {
            int group = createTransform(*database, "group", db::Database::RootId);
            createFamilies(*database, group, 100, 999);
            doomed.push_back(group);
        }
        database->endChangeBlock("create");
        database->clearUndo();
        const std::size_t fullCount = database->nodeCount();

        Clock::time_point start = Clock::now();
        database->beginChangeBlock();
        if (siblings) database->setSelection(doomed);
        const bool removed = database->remove(doomed);
        database->endChangeBlock("delete");
        deleteMs += millisecondsSince(start);
        const std::size_t deletedCount = database->nodeCount();
        state.ResumeTiming();

        const bool undone = database->undo();

        state.PauseTiming();
        const bool restored = database->nodeCount() == fullCount;
        start = Clock::now();
        const bool redone = database->redo();
        redoMs += millisecondsSince(start);
        database.reset();
        state.ResumeTiming();
        if (!removed || deletedCount + HundredThousand + (siblings ? 0 : 1) != fullCount) {
            state.SkipWithError("the delete did not remove every object");
            break;
        }
        if (!undone || !restored || !redone) {
            state.SkipWithError("undo or redo did not restore the scene");
            break;
        }
    }
    const double n = static_cast<double>(state.iterations());
    if (n > 0) {
        state.counters["delete_ms"] = deleteMs / n;
        state.counters["redo_ms"] = redoMs / n;
    }
}
BENCHMARK(BM_UndoDelete100k)->ArgName("siblings")->Arg(0)->Arg(1)->Iterations(3)->Unit(benchmark::kMillisecond);

// Saves a 100,000-object scene to a temporary file and loads it into a fresh database.
void BM_SaveLoad100k(benchmark::State& state) {
    auto source = makeDatabase();
    source->beginChangeBlock();
    std::vector<int> ids = createFamilies(*source, db::Database::RootId, 100, 999);
    for (std::size_t i = 0; i < ids.size(); ++i)
        source->setValue(translateX(*source, ids[i]), db::Value(static_cast<float>(i) * 0.5f));
    source->endChangeBlock("create");
    source->clearUndo();

    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("velx-bench-" + std::to_string(::getpid()) + ".json");
    double saveMs = 0, loadMs = 0, fileBytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto target = makeDatabase();
        std::string error;
        state.ResumeTiming();

        Clock::time_point start = Clock::now();
        const bool saved = VelX::XSceneFile::save(*source, file.string(), error);
        saveMs += millisecondsSince(start);
        start = Clock::now();
        const bool loaded = saved && VelX::XSceneFile::load(*target, file.string(), error);
        loadMs += millisecondsSince(start);

        state.PauseTiming();
        std::error_code ec;
        fileBytes = static_cast<double>(std::filesystem::file_size(file, ec));
        // Loading may add settings objects, so compare the transforms only.
        const bool sameCount = countOfType(*target, sg::TransformNode::Def) == ids.size();
        target.reset();
        state.ResumeTiming();
        if (!saved || !loaded) {
            state.SkipWithError(("scene file round trip failed: " + error).c_str());
            break;
        }
        if (!sameCount) {
            state.SkipWithError("the loaded scene has a different number of transforms");
            break;
        }
    }
    std::error_code ec;
    std::filesystem::remove(file, ec);
    const double n = static_cast<double>(state.iterations());
    if (n > 0) {
        state.counters["file_bytes"] = fileBytes;
        state.counters["save_ms"] = saveMs / n;
        state.counters["load_ms"] = loadMs / n;
    }
}
BENCHMARK(BM_SaveLoad100k)->Iterations(3)->Unit(benchmark::kMillisecond);

using bench::residentBytes;
using bench::resetPeakResident;

// `chains` top-level transforms, each the head of a parent chain `depth` transforms deep with a
// value on every link; each chain's deepest transform drives its head and is selected, so the
// file names objects by their deepest paths.
void createDeepChains(db::Database& database, int chains, int depth) {
    std::vector<int> deepest;
    for (int c = 0; c < chains; ++c) {
        const int head = createTransform(database, "chain" + std::to_string(c), db::Database::RootId);
        int link = head;
        for (int d = 1; d < depth; ++d) {
            link = createTransform(database, "link", link);
            database.setValue(translateX(database, link), db::Value(static_cast<float>(d) * 0.5f));
        }
        const db::AttrKey headTranslateY{head, database.node(head)->def().topLevelSlot(sg::Index::TranslateX + 1)};
        database.connect(translateX(database, link), headTranslateY);
        deepest.push_back(link);
    }
    database.setSelection(deepest);
}

// Loads from disk a ~20 MB scene file made of 1,000-deep parent chains. Budget: 2 s a load and
// 200 MB of peak resident memory above what the process held before it (peak_rss_growth_mb; the
// allocator's own peak, sampled as the load reports progress, is peak_heap_growth_mb).
void BM_LoadDeep(benchmark::State& state) {
    constexpr std::size_t Chains = 120;
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("velx-bench-deep-" + std::to_string(::getpid()) + ".velx");
    {
        auto source = makeDatabase();
        source->beginChangeBlock();
        createDeepChains(*source, static_cast<int>(Chains), 1000);
        source->endChangeBlock("create");
        std::string error;
        if (!VelX::XSceneFile::save(*source, file.string(), error)) {
            state.SkipWithError(("cannot write the scene file: " + error).c_str());
            return;
        }
    }
    std::error_code ec;
    const double fileBytes = static_cast<double>(std::filesystem::file_size(file, ec));
    double rssGrowth = 0, heapGrowth = 0;
    bool peakKnown = true;
    for (auto _ : state) {
        state.PauseTiming();
        auto target = makeDatabase();
        std::string error;
        malloc_trim(0);
        const double rssBefore = residentBytes("VmRSS:");
        peakKnown = resetPeakResident() && peakKnown;
        const double heapBefore = heapBytes();
        double heapPeak = heapBefore;
        state.ResumeTiming();

        const bool loaded = VelX::XSceneFile::load(*target, file.string(), error, [&](const char*, std::size_t, std::size_t) {
            heapPeak = std::max(heapPeak, heapBytes());
        });

        state.PauseTiming();
        rssGrowth = std::max(rssGrowth, residentBytes("VmHWM:") - rssBefore);
        heapGrowth = std::max(heapGrowth, heapPeak - heapBefore);
        const bool complete = loaded && countOfType(*target, sg::TransformNode::Def) == Chains * 1000u &&
                              target->selection().size() == Chains;
        target.reset();
        state.ResumeTiming();
        if (!complete) {
            state.SkipWithError(("the deep scene did not load whole: " + error).c_str());
            break;
        }
    }
    std::filesystem::remove(file, ec);
    state.counters["file_mb"] = fileBytes / 1e6;
    if (peakKnown) state.counters["peak_rss_growth_mb"] = rssGrowth / 1e6;
    state.counters["peak_heap_growth_mb"] = heapGrowth / 1e6;
}
BENCHMARK(BM_LoadDeep)->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
