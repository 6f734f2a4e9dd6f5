// Costs of the scene explorer on large scenes, and of the stock tree controls on the same hierarchy.
//
// The iteration time is our own work: the operation plus one full paint of the control, drawn into an
// off-screen bitmap by the same code that paints on screen. The counter wall_ms is the wall time until
// the window has really drawn on screen (GTK's draw signal, after its default handler), which adds the
// display's frame clock.
//
// The scenes: characters (a character object over a binary joint hierarchy 10 levels deep, 1,024
// objects each) and one transform with min(100,000, N/2) direct children, N objects in all.
#include "UiBenchmarkSupport.h"
#include <orkacore/LayoutManager.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XScene.h>
#include <velxcore/XSelection.h>
#include <velwidgets/VelTreeControlSelectionEventDisabler.h>
#include <velxui/XSceneExplorer.h>

#include <benchmark/benchmark.h>
#include <wx/app.h>
#include <wx/dataview.h>
#include <wx/dcmemory.h>
#include <wx/evtloop.h>
#include <wx/frame.h>
#include <wx/sizer.h>
#include <wx/treectrl.h>

#include <dlfcn.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>

namespace {

using Clock = std::chrono::steady_clock;
using VelX::XObject;

double msSince(Clock::time_point start) { return std::chrono::duration<double, std::milli>(Clock::now() - start).count(); }

using UiBenchmark::closeFrame;
using UiBenchmark::runOneTurn;
using UiBenchmark::showAndSettle;

// Waits until GTK has drawn the window: a handler connected after the default "draw" handler of the
// window's widget runs once everything inside has been painted. glib is reached through the symbols
// the toolkit already loaded.
class DrawWatch {
public:
    explicit DrawWatch(wxWindow* window) : m_widget(window->GetHandle()) {
        using Connect = unsigned long (*)(void*, const char*, void (*)(), void*, void*, int);
        auto connect = reinterpret_cast<Connect>(dlsym(RTLD_DEFAULT, "g_signal_connect_data"));
        if (connect && m_widget)
            m_handler = connect(m_widget, "draw", reinterpret_cast<void (*)()>(&DrawWatch::onDraw), &m_drawn, nullptr,
                                1 /* G_CONNECT_AFTER */);
    }
    ~DrawWatch() {
        using Disconnect = void (*)(void*, unsigned long);
        auto disconnect = reinterpret_cast<Disconnect>(dlsym(RTLD_DEFAULT, "g_signal_handler_disconnect"));
        if (disconnect && m_handler) disconnect(m_widget, m_handler);
    }
    bool ok() const { return m_handler != 0; }
    void arm() { m_drawn = false; }
    bool wait(double timeoutMs = 20000) {
        const auto start = Clock::now();
        while (!m_drawn && msSince(start) < timeoutMs) runOneTurn();
        return m_drawn;
    }

private:
    static int onDraw(void*, void*, void* drawn) {
        *static_cast<bool*>(drawn) = true;
        return 0;
    }
    void* m_widget;
    unsigned long m_handler = 0;
    bool m_drawn = false;
};

struct BenchScene {
    VelX::XScene scene;
    std::vector<XObject> characters;
    XObject flatParent;
    std::vector<XObject> sample;  // every 97th object, for selections
};

void addJoints(VelX::XDatabase& database, const XObject& parent, int depth, int& count, int& serial) {
    if (depth == 0) return;
    for (int i = 0; i < (depth == 10 ? 1 : 2); ++i) {
        XObject joint = database.CreateObject(VelX::XJoint::TypeID, L"j" + std::to_wstring(++serial), parent);
        ++count;
        addJoints(database, joint, depth - 1, count, serial);
    }
}

BenchScene& benchScene(int objects) {
    static std::map<int, std::unique_ptr<BenchScene>> scenes;
    auto& slot = scenes[objects];
    if (slot) return *slot;
    slot = std::make_unique<BenchScene>();
    VelX::XDatabase& database = slot->scene.Database();
    database.BeginChangeBlock();
    int count = 0, serial = 0;
    const int flat = std::min(100000, objects / 2);
    slot->flatParent = database.CreateObject(VelX::XTransform::TypeID, L"Crowd");
    ++count;
    for (int i = 0; i < flat - 1; ++i, ++count)
        database.CreateObject(VelX::XTransform::TypeID, L"member" + std::to_wstring(i), slot->flatParent);
    while (count + 1024 <= objects) {
        XObject character = database.CreateObject(VelX::XCharacter::TypeID, L"character" + std::to_wstring(count));
        ++count;
        slot->characters.push_back(character);
        addJoints(database, character, 10, count, serial);
    }
    database.EndChangeBlock();
    for (int id = 1, n = 0; n < objects; ++id) {
        XObject o = database.Object(id);
        if (!o.IsValid()) {
            if (id > objects * 2) break;
            continue;
        }
        if (++n % 97 == 0) slot->sample.push_back(o);
    }
    return *slot;
}

// A shown frame with the explorer docked in a pane that is hidden while the scene is prepared.
struct ExplorerWindow {
    explicit ExplorerWindow(VelX::XScene& scene) {
        frame = new wxFrame(nullptr, wxID_ANY, "explorer benchmark", wxPoint(0, 0), wxSize(420, 900));
        layout = std::make_unique<Orka::LayoutManager>(frame);
        explorer = new VelXUI::XSceneExplorer(scene);
        explorer->Create(frame, layout.get());
        layout->addPane(explorer, "SceneExplorer", "Scene Explorer", Orka::PaneDock::Centre);
        layout->update();
        showAndSettle(frame);
    }
    ~ExplorerWindow() {
        layout.reset();
        closeFrame(frame);
    }
    void renderOffScreen() {
        const wxSize size = explorer->GetClientSize();
        if (!bitmap.IsOk() || bitmap.GetSize() != size) bitmap.Create(size);
        wxMemoryDC dc(bitmap);
        explorer->RenderTo(dc, size);
    }
    wxFrame* frame;
    std::unique_ptr<Orka::LayoutManager> layout;
    VelXUI::XSceneExplorer* explorer;
    wxBitmap bitmap;
};

void reportWall(benchmark::State& state, double totalMs, int samples) {
    state.counters["wall_ms"] = benchmark::Counter(samples ? totalMs / samples : 0.0);
}

void BM_ExplorerBuild(benchmark::State& state) {
    BenchScene& bench = benchScene(int(state.range(0)));
    ExplorerWindow window(bench.scene);
    DrawWatch draw(window.explorer);
    double wall = 0;
    int samples = 0;
    for (auto _ : state) {
        auto start = Clock::now();
        window.explorer->OnSceneLoaded(bench.scene);
        window.renderOffScreen();
        state.SetIterationTime(msSince(start) / 1000.0);
        draw.arm();
        start = Clock::now();
        window.explorer->OnSceneLoaded(bench.scene);
        window.explorer->Refresh();
        if (draw.wait()) wall += msSince(start), ++samples;
    }
    reportWall(state, wall, samples);
    state.counters["rows"] = double(window.explorer->GetShownRowCount());
}
BENCHMARK(BM_ExplorerBuild)->Arg(100000)->Arg(1000000)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_ExplorerExpandAll(benchmark::State& state) {
    BenchScene& bench = benchScene(int(state.range(0)));
    ExplorerWindow window(bench.scene);
    DrawWatch draw(window.explorer);
    double wall = 0;
    int samples = 0;
    for (auto _ : state) {
        window.explorer->CollapseAll(nullptr);
        window.explorer->GetRoot()->Expand();
        window.explorer->GetShownRowCount();
        auto start = Clock::now();
        window.explorer->ExpandAll(nullptr);
        window.renderOffScreen();
        state.SetIterationTime(msSince(start) / 1000.0);
        window.explorer->CollapseAll(nullptr);
        window.explorer->GetRoot()->Expand();
        window.explorer->GetShownRowCount();
        draw.arm();
        start = Clock::now();
        window.explorer->ExpandAll(nullptr);
        window.explorer->Refresh();
        if (draw.wait()) wall += msSince(start), ++samples;
    }
    reportWall(state, wall, samples);
    state.counters["rows"] = double(window.explorer->GetShownRowCount());
}
BENCHMARK(BM_ExplorerExpandAll)->Arg(1000000)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_ExplorerScrollPaint(benchmark::State& state) {
    BenchScene& bench = benchScene(int(state.range(0)));
    ExplorerWindow window(bench.scene);
    DrawWatch draw(window.explorer);
    window.explorer->ExpandAll(nullptr);
    const size_t rows = window.explorer->GetShownRowCount();
    const size_t page = size_t(std::max(1, window.explorer->GetPageRows()));
    double wall = 0;
    int samples = 0, iteration = 0;
    for (auto _ : state) {
        auto start = Clock::now();
        window.explorer->ScrollToRow((window.explorer->GetTopRow() + page) % rows);
        window.renderOffScreen();
        state.SetIterationTime(msSince(start) / 1000.0);
        if (++iteration % 10 == 0) {  // the on-screen paint waits for the frame clock: sample it
            draw.arm();
            start = Clock::now();
            window.explorer->ScrollToRow((window.explorer->GetTopRow() + page) % rows);
            if (draw.wait()) wall += msSince(start), ++samples;
        }
    }
    reportWall(state, wall, samples);
}
BENCHMARK(BM_ExplorerScrollPaint)->Arg(100000)->Arg(1000000)->UseManualTime()->Unit(benchmark::kMillisecond);

// 10,000 objects spread over the scene are selected; the explorer mirrors the selection and brings
// it into view. With collapsed=1 each round starts from the freshly built tree (only the root open),
// so bringing the selection into view also opens every branch that leads to it (about 300,000 rows
// become shown); with collapsed=0 the tree is already open.
void BM_ExplorerSelect10k(benchmark::State& state) {
    const bool collapsed = state.range(0) != 0;
    BenchScene& bench = benchScene(1000000);
    ExplorerWindow window(bench.scene);
    DrawWatch draw(window.explorer);
    std::vector<std::wstring> paths;
    for (size_t i = 0; i < bench.sample.size() && paths.size() < 10000; ++i) paths.push_back(bench.sample[i].Path());
    bench.scene.Selection().Select(paths);  // the core's part, once
    state.counters["selected"] = double(bench.scene.Selection().Count());
    if (!collapsed) window.explorer->ExpandAll(nullptr);
    auto reset = [&] {
        wxUtils::VelTreeControlSelectionEventDisabler quiet(*window.explorer);
        window.explorer->SetSelection({});
        if (collapsed) {
            window.explorer->CollapseAll(nullptr);
            window.explorer->GetRoot()->Expand();
        }
        window.explorer->GetShownRowCount();
    };
    double wall = 0;
    int samples = 0;
    for (auto _ : state) {
        reset();
        auto start = Clock::now();
        window.explorer->OnSceneSelectionChanged(bench.scene, false);
        window.renderOffScreen();
        state.SetIterationTime(msSince(start) / 1000.0);
        reset();
        draw.arm();
        start = Clock::now();
        window.explorer->OnSceneSelectionChanged(bench.scene, false);
        if (draw.wait()) wall += msSince(start), ++samples;
    }
    reportWall(state, wall, samples);
    state.counters["rows"] = double(window.explorer->GetShownRowCount());
    bench.scene.Selection().Clear();
}
BENCHMARK(BM_ExplorerSelect10k)->ArgName("collapsed")->Arg(0)->Arg(1)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

// One edit through the core (change block, notification) and the explorer's repaint.
template <class Edit>
void runEdit(benchmark::State& state, Edit&& edit) {
    BenchScene& bench = benchScene(1000000);
    ExplorerWindow window(bench.scene);
    DrawWatch draw(window.explorer);
    window.explorer->ExpandAll(bench.characters.empty() ? nullptr : window.explorer->ItemOf(bench.characters[0]));
    double wall = 0;
    int samples = 0, iteration = 0;
    for (auto _ : state) {
        auto start = Clock::now();
        edit(bench, iteration++);
        window.renderOffScreen();
        state.SetIterationTime(msSince(start) / 1000.0);
        if (iteration % 10 == 0) {
            draw.arm();
            start = Clock::now();
            edit(bench, iteration++);
            if (draw.wait(2000)) wall += msSince(start), ++samples;
        }
    }
    reportWall(state, wall, samples);
}

void BM_ExplorerRename(benchmark::State& state) {
    runEdit(state, [](BenchScene& bench, int iteration) {
        XObject target = bench.characters.at(bench.characters.size() / 2);
        bench.scene.Database().BeginChangeBlock();
        target.SetName(iteration % 2 ? L"renamedA" : L"renamedB");
        bench.scene.Database().EndChangeBlock();
    });
}
BENCHMARK(BM_ExplorerRename)->UseManualTime()->Unit(benchmark::kMicrosecond);

void BM_ExplorerReparent(benchmark::State& state) {
    // One member of the crowd moves back and forth between the crowd and the first character (open).
    BenchScene& scene = benchScene(1000000);
    XObject member = scene.flatParent.Child(scene.flatParent.ChildCount() - 1);
    runEdit(state, [member](BenchScene& bench, int iteration) {
        XObject moving = member;
        bench.scene.Database().BeginChangeBlock();
        if (!moving.SetParent(iteration % 2 ? bench.flatParent : bench.characters.at(0))) std::abort();
        bench.scene.Database().EndChangeBlock();
    });
}
BENCHMARK(BM_ExplorerReparent)->UseManualTime()->Unit(benchmark::kMicrosecond);

// A stock control's iteration ends when it has really drawn on screen.
void paintAndTime(benchmark::State& state, wxWindow* control, DrawWatch& draw, Clock::time_point start) {
    control->Refresh();
    draw.wait(120000);
    state.SetIterationTime(msSince(start) / 1000.0);
}

// The stock tree control: append the hierarchy, expand everything, and wait for the paint.
void BM_PeerWxTreeCtrl(benchmark::State& state) {
    BenchScene& bench = benchScene(int(state.range(0)));
    auto* frame = new wxFrame(nullptr, wxID_ANY, "peer", wxPoint(0, 0), wxSize(420, 900));
    auto* tree = new wxTreeCtrl(frame, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                wxTR_DEFAULT_STYLE | wxTR_MULTIPLE);
    showAndSettle(frame);
    DrawWatch draw(tree);
    for (auto _ : state) {
        tree->DeleteAllItems();
        draw.arm();
        const auto start = Clock::now();
        std::vector<std::pair<XObject, wxTreeItemId>> stack{{bench.scene.RootObject(), tree->AddRoot("Scene")}};
        while (!stack.empty()) {
            auto [object, id] = stack.back();
            stack.pop_back();
            for (int i = 0; i < object.ChildCount(); ++i) {
                XObject child = object.Child(i);
                stack.emplace_back(child, tree->AppendItem(id, child.Name()));
            }
        }
        tree->ExpandAll();
        paintAndTime(state, tree, draw, start);
    }
    closeFrame(frame);
}
BENCHMARK(BM_PeerWxTreeCtrl)->Arg(100000)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);

// The stock data view over a virtual model of the scene: attach, expand, select 10,000, paint.
class SceneModel : public wxDataViewModel {
public:
    explicit SceneModel(VelX::XScene& scene) : m_scene(scene) {}
    unsigned int GetColumnCount() const override { return 1; }
    wxString GetColumnType(unsigned int) const override { return "string"; }
    void GetValue(wxVariant& value, const wxDataViewItem& item, unsigned int) const override {
        value = wxString(object(item).Name());
    }
    bool SetValue(const wxVariant&, const wxDataViewItem&, unsigned int) override { return false; }
    wxDataViewItem GetParent(const wxDataViewItem& item) const override {
        XObject parent = object(item).Parent();
        return parent.IsValid() && parent.ObjectID() != 0 ? idItem(parent.ObjectID()) : wxDataViewItem();
    }
    bool IsContainer(const wxDataViewItem& item) const override { return !item.IsOk() || object(item).ChildCount() > 0; }
    unsigned int GetChildren(const wxDataViewItem& item, wxDataViewItemArray& children) const override {
        XObject parent = item.IsOk() ? object(item) : m_scene.RootObject();
        for (int i = 0; i < parent.ChildCount(); ++i) children.Add(idItem(parent.Child(i).ObjectID()));
        return children.size();
    }
    static wxDataViewItem idItem(int id) { return wxDataViewItem(reinterpret_cast<void*>(intptr_t(id))); }
    XObject object(const wxDataViewItem& item) const {
        return m_scene.Database().Object(int(reinterpret_cast<intptr_t>(item.GetID())));
    }

private:
    VelX::XScene& m_scene;
};

void BM_PeerWxDataView(benchmark::State& state) {
    BenchScene& bench = benchScene(int(state.range(0)));
    for (auto _ : state) {
        auto* frame = new wxFrame(nullptr, wxID_ANY, "peer", wxPoint(0, 0), wxSize(420, 900));
        auto* view = new wxDataViewCtrl(frame, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxDV_MULTIPLE);
        view->AppendTextColumn("Name", 0);
        showAndSettle(frame);
        DrawWatch draw(view);
        draw.arm();
        const auto start = Clock::now();
        wxObjectDataPtr<SceneModel> model(new SceneModel(bench.scene));
        view->AssociateModel(model.get());
        std::vector<XObject> stack{bench.scene.RootObject()};
        while (!stack.empty()) {
            XObject object = stack.back();
            stack.pop_back();
            for (int i = 0; i < object.ChildCount(); ++i) {
                XObject child = object.Child(i);
                if (child.ChildCount() > 0) {
                    view->Expand(SceneModel::idItem(child.ObjectID()));
                    stack.push_back(child);
                }
            }
        }
        wxDataViewItemArray selection;
        for (size_t i = 0; i < bench.sample.size() && selection.size() < 10000; ++i)
            selection.Add(SceneModel::idItem(bench.sample[i].ObjectID()));
        view->SetSelections(selection);
        paintAndTime(state, view, draw, start);
        closeFrame(frame);
    }
}
BENCHMARK(BM_PeerWxDataView)->Arg(100000)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
