// Costs of the attribute editor: rebuilding for a new selection and writing a typed value, each
// until painted, with a stock wxPropertyGrid filled with the same rows as the peer.
//
// Two clocks: the budget clock times our own work, the operation plus one full paint of every title
// and list into an off-screen bitmap with the same drawing code as on screen; the "OnScreen"
// variants time until every list has painted in the window (its paint handler runs inside GTK's
// draw signal), which adds the display's frame clock.
#include "UiBenchmarkSupport.h"
#include <velwidgets/AppMainLoop.h>
#include <velxcore/XApplication.h>
#include <velxcore/XObjectTypes.h>
#include <velxcore/XScene.h>
#include <velxui/XAttributeControl.h>
#include <velxui/XAttributeEditor.h>
#include <velxui/XAttributeListControl.h>
#include <velxui/XAttributeListTitle.h>
#include <velxui/XAttributeSource.h>
#include <velxui/XEditorLibrary.h>

#include <benchmark/benchmark.h>
#include <wx/app.h>
#include <wx/dcmemory.h>
#include <wx/evtloop.h>
#include <wx/frame.h>
#include <wx/propgrid/propgrid.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

#include <chrono>
#include <memory>
#include <set>

namespace {

using Clock = std::chrono::steady_clock;
constexpr int RowsPerObject = 60;

using UiBenchmark::runOneTurn;

void settle() {
    for (int i = 0; i < 10; ++i) {
        runOneTurn();
        wxMilliSleep(1);
    }
}

VelX::XScene& scene() { return VelX::XApplication::Instance().ActiveScene(); }

// A shown attribute editor in its own window over a fresh scene.
struct EditorWindow {
    EditorWindow() {
        VelXUI::XEditorLibrary::Initialise();
        wxUtils::AppMainLoop::Instance().install(wxTheApp);
        scene().New();
        frame = new wxFrame(nullptr, wxID_ANY, "attributes", wxPoint(0, 0), wxSize(420, 900));
        editor = new VelXUI::XAttributeEditor(scene());
        editor->Create(scene(), frame, nullptr);
        auto* sizer = new wxBoxSizer(wxVERTICAL);
        sizer->Add(editor, 1, wxEXPAND);
        frame->SetSizer(sizer);
        frame->Show();
        settle();
    }
    ~EditorWindow() {
        frame->Destroy();
        settle();
        scene().New();
        wxUtils::AppMainLoop::Instance().uninstall();
    }
    VelXUI::XAttributeControl& control() { return *editor->Control(); }

    // One paint of the panel into an off-screen bitmap by the windows' own paint code: every
    // title, and every list clipped to the part that the scrolling area shows, as on screen.
    void paintOffscreen() {
        wxMemoryDC dc(bitmap);
        for (VelXUI::XAttributeListTitle* title : control().Titles()) title->renderTo(dc);
        wxWindow* view = control().ScrollWindow();
        const wxRect shown(view->GetScreenPosition(), view->GetClientSize());
        for (VelXUI::XAttributeListControl* list : control().ListControls()) {
            const wxRect listRect(list->GetScreenPosition(), list->GetClientSize());
            wxRect visible = listRect.Intersect(shown);
            if (visible.IsEmpty()) continue;
            visible.Offset(-listRect.GetPosition());
            list->renderTo(dc, visible);
        }
    }
    int rows() {
        int count = 0;
        for (VelXUI::XAttributeListControl* list : control().ListControls()) count += list->getItemCount();
        return count;
    }
    // Runs the loop until every list on screen has painted; false after ten seconds.
    using PaintSet = std::shared_ptr<std::set<wxWindow*>>;
    bool waitForPaint(const std::vector<wxWindow*>& windows) { return waitForPaint(armPaint(windows)); }
    // Starts listening for the windows' paints (before the operation, which may paint at once).
    PaintSet armPaint(const std::vector<wxWindow*>& windows) {
        // Shared with the handlers, which stay bound after the wait.
        auto waiting = std::make_shared<std::set<wxWindow*>>();
        for (wxWindow* window : windows) {
            if (!window->IsShownOnScreen()) continue;
            const wxRect shown = window->GetScreenRect().Intersect(frame->GetScreenRect());
            if (shown.IsEmpty()) continue;
            waiting->insert(window);
            window->Bind(wxEVT_PAINT, [waiting, window](wxPaintEvent& event) {
                event.Skip();
                waiting->erase(window);
            });
        }
        return waiting;
    }
    bool waitForPaint(const PaintSet& waiting) {
        const auto deadline = Clock::now() + std::chrono::seconds(10);
        while (!waiting->empty() && Clock::now() < deadline) {
            runOneTurn();
            wxMilliSleep(0);
        }
        return waiting->empty();
    }
    std::vector<wxWindow*> lists() {
        return std::vector<wxWindow*>(control().ListControls().begin(), control().ListControls().end());
    }

    wxFrame* frame = nullptr;
    VelXUI::XAttributeEditor* editor = nullptr;
    wxBitmap bitmap{420, 2000};
};

// A transform with custom float attributes added until it has the given number of rows.
VelX::XObject makeWideObject(const std::wstring& name, int rows) {
    VelX::XDatabase& database = scene().Database();
    database.BeginChangeBlock();
    VelX::XObject object = database.CreateObject(VelX::XTransform::TypeID, name);
    int shown = 0;
    Velutils::Vector<VelX::XAttribute> attributes;
    object.Attributes(attributes);
    for (const VelX::XAttribute& attribute : attributes)
        if (attribute.IsVisible() && !attribute.IsMatrix() && attribute.Type() != 0) ++shown;
    for (int i = 0; shown < rows; ++i, ++shown)
        object.AddCustomAttribute(L"extra" + std::to_wstring(i), 4).SetFloat(static_cast<float>(i));
    database.EndChangeBlock();
    return object;
}

Velutils::Vector<VelX::XObject> makeTransforms(int count) {
    VelX::XDatabase& database = scene().Database();
    Velutils::Vector<VelX::XObject> objects;
    database.BeginChangeBlock();
    for (int i = 0; i < count; ++i) {
        VelX::XObject object = database.CreateObject(VelX::XTransform::TypeID, L"t" + std::to_wstring(i));
        object.Attribute(L"translateX").SetFloat(static_cast<float>(i % 7));
        objects.push_back(object);
    }
    database.EndChangeBlock();
    return objects;
}

// The rebuild (inside the selection notification) and the off-screen paint, timed apart.
struct RebuildTiming {
    double rebuildMs = 0, paintMs = 0;
    void report(benchmark::State& state) const {
        state.counters["rebuild_ms"] = benchmark::Counter(rebuildMs, benchmark::Counter::kAvgIterations);
        state.counters["paint_ms"] = benchmark::Counter(paintMs, benchmark::Counter::kAvgIterations);
    }
};

void timeRebuildAndPaint(benchmark::State& state, EditorWindow& window, const Velutils::Vector<VelX::XObject>& selection,
                         RebuildTiming& timing) {
    const auto start = Clock::now();
    scene().Selection().SelectObjects(selection);  // the editor rebuilds inside the notification
    const auto rebuilt = Clock::now();
    window.paintOffscreen();
    const auto end = Clock::now();
    state.SetIterationTime(std::chrono::duration<double>(end - start).count());
    timing.rebuildMs += std::chrono::duration<double, std::milli>(rebuilt - start).count();
    timing.paintMs += std::chrono::duration<double, std::milli>(end - rebuilt).count();
}

void BM_AttrRebuildOneObject(benchmark::State& state) {
    EditorWindow window;
    const VelX::XObject objects[2] = {makeWideObject(L"wideA", RowsPerObject), makeWideObject(L"wideB", RowsPerObject)};
    int which = 0;
    RebuildTiming timing;
    for (auto _ : state) {
        Velutils::Vector<VelX::XObject> selection;
        selection.push_back(objects[which ^= 1]);
        timeRebuildAndPaint(state, window, selection, timing);
        settle();
    }
    state.counters["rows"] = window.rows();
    timing.report(state);
}
BENCHMARK(BM_AttrRebuildOneObject)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(50);

void BM_AttrRebuildOneObjectOnScreen(benchmark::State& state) {
    EditorWindow window;
    const VelX::XObject objects[2] = {makeWideObject(L"wideA", RowsPerObject), makeWideObject(L"wideB", RowsPerObject)};
    int which = 0;
    for (auto _ : state) {
        Velutils::Vector<VelX::XObject> selection;
        selection.push_back(objects[which ^= 1]);
        const auto start = Clock::now();
        scene().Selection().SelectObjects(selection);
        if (!window.waitForPaint(window.lists())) state.SkipWithError("a list never painted");
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        settle();
    }
}
BENCHMARK(BM_AttrRebuildOneObjectOnScreen)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);

void BM_AttrRebuild10k(benchmark::State& state) {
    EditorWindow window;
    const Velutils::Vector<VelX::XObject> objects = makeTransforms(10000);
    RebuildTiming timing;
    for (auto _ : state) {
        scene().Selection().Clear();
        settle();
        timeRebuildAndPaint(state, window, objects, timing);
    }
    timing.report(state);
    state.counters["objects"] = static_cast<double>(window.control().ObjectCache().front().objects.size());
    state.counters["rows"] = window.rows();
}
BENCHMARK(BM_AttrRebuild10k)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

void BM_AttrRebuild10kOnScreen(benchmark::State& state) {
    EditorWindow window;
    const Velutils::Vector<VelX::XObject> objects = makeTransforms(10000);
    for (auto _ : state) {
        scene().Selection().Clear();
        settle();
        const auto start = Clock::now();
        scene().Selection().SelectObjects(objects);
        if (!window.waitForPaint(window.lists())) state.SkipWithError("a list never painted");
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
}
BENCHMARK(BM_AttrRebuild10kOnScreen)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

// One float typed into the translate X row over 10,000 selected objects: the field is committed as
// Enter commits it, the scene writes all of them in one change block, notifies, and the main-loop
// pass refreshes the row.
template <bool OnScreen>
void attrEdit10k(benchmark::State& state) {
    EditorWindow window;
    const Velutils::Vector<VelX::XObject> objects = makeTransforms(10000);
    scene().Selection().SelectObjects(objects);
    settle();
    VelXUI::XAttributeListControl* list = nullptr;
    int row = -1;
    for (VelXUI::XAttributeListControl* candidate : window.control().ListControls())
        for (int r = 0; r < candidate->getItemCount() && row < 0; ++r)
            if (static_cast<VelXUI::XAttributeSource*>(candidate->GetAttributeGroup(r)->getAttribute())
                    ->attributeName() == L"translateX") {
                list = candidate;
                row = r;
            }
    if (!list) {
        state.SkipWithError("no translate X row");
        return;
    }
    int value = 0;
    double writeTime = 0, passTime = 0, paintTime = 0;
    for (auto _ : state) {
        list->selectExclusively(row);
        list->beginEdit(row);
        list->getEditor()->ChangeValue(wxString::Format("%d.5", ++value % 50));
        settle();
        if (OnScreen) {
            const auto painted = window.armPaint({list});
            const auto start = Clock::now();
            list->commitEdit();  // the main loop's idle pass refreshes the row and the window paints it
            if (!window.waitForPaint(painted)) state.SkipWithError("the list never painted");
            state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        } else {
            const auto start = Clock::now();
            list->commitEdit();
            const auto written = Clock::now();
            wxUtils::AppMainLoop::Instance().runRedrawPass();
            const auto passed = Clock::now();
            wxMemoryDC dc(window.bitmap);
            list->renderTo(dc, wxRect(list->GetClientSize()));
            const auto end = Clock::now();
            state.SetIterationTime(std::chrono::duration<double>(end - start).count());
            writeTime += std::chrono::duration<double, std::milli>(written - start).count();
            passTime += std::chrono::duration<double, std::milli>(passed - written).count();
            paintTime += std::chrono::duration<double, std::milli>(end - passed).count();
        }
        settle();
    }
    if (!OnScreen) {
        state.counters["write_ms"] = benchmark::Counter(writeTime, benchmark::Counter::kAvgIterations);
        state.counters["pass_ms"] = benchmark::Counter(passTime, benchmark::Counter::kAvgIterations);
        state.counters["paint_ms"] = benchmark::Counter(paintTime, benchmark::Counter::kAvgIterations);
    }
    const VelX::XAttribute last = objects.back().Attribute(L"translateX");
    if (last.AsDisplayFloat() != static_cast<float>(value % 50) + 0.5f) state.SkipWithError("the value was not written");
}

void BM_AttrEdit10k(benchmark::State& state) { attrEdit10k<false>(state); }
BENCHMARK(BM_AttrEdit10k)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_AttrEdit10kOnScreen(benchmark::State& state) { attrEdit10k<true>(state); }
BENCHMARK(BM_AttrEdit10kOnScreen)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

// The peer: a stock property grid filled with the same 60 rows (names and values read from the same
// attributes), until it has painted on screen. Compare with BM_AttrRebuildOneObjectOnScreen.
void BM_PeerPropertyGrid(benchmark::State& state) {
    EditorWindow window;
    const VelX::XObject object = makeWideObject(L"wide", RowsPerObject);
    auto* gridFrame = new wxFrame(nullptr, wxID_ANY, "peer", wxPoint(430, 0), wxSize(420, 900));
    auto* grid = new wxPropertyGrid(gridFrame, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxPG_DEFAULT_STYLE);
    gridFrame->Show();
    settle();
    Velutils::Vector<VelX::XAttribute> attributes;
    object.Attributes(attributes);
    int rows = 0;
    auto painted = std::make_shared<bool>(false);
    grid->GetPanel()->Bind(wxEVT_PAINT, [painted](wxPaintEvent& event) {
        event.Skip();
        *painted = true;
    });
    for (auto _ : state) {
        const auto start = Clock::now();
        grid->Freeze();
        grid->Clear();
        rows = 0;
        for (const VelX::XAttribute& attribute : attributes) {
            if (!attribute.IsVisible() || attribute.IsMatrix()) continue;
            const wxString label(attribute.DisplayName());
            const wxString name(attribute.Name());
            switch (attribute.Type()) {
            case 1: grid->Append(new wxIntProperty(label, name, attribute.Integer())); break;
            case 2: grid->Append(new wxBoolProperty(label, name, attribute.Boolean())); break;
            case 3: {
                std::vector<std::wstring> choices;
                attribute.EnumerationDisplayStrings(choices);
                wxArrayString labels;
                for (const std::wstring& choice : choices) labels.Add(choice);
                grid->Append(new wxEnumProperty(label, name, labels, wxArrayInt(), attribute.Enumeration()));
                break;
            }
            case 4: grid->Append(new wxFloatProperty(label, name, attribute.AsDisplayFloat())); break;
            case 6: grid->Append(new wxStringProperty(label, name, attribute.String())); break;
            case 8: grid->Append(new wxStringProperty(label, name, attribute.InputObject().Name())); break;
            default: continue;
            }
            ++rows;
        }
        grid->Thaw();
        *painted = false;
        grid->Refresh();
        const auto deadline = Clock::now() + std::chrono::seconds(10);
        while (!*painted && Clock::now() < deadline) {
            runOneTurn();
            wxMilliSleep(0);
        }
        if (!*painted) state.SkipWithError("the grid never painted");
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        settle();
    }
    state.counters["rows"] = rows;
    gridFrame->Destroy();
    settle();
}
BENCHMARK(BM_PeerPropertyGrid)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);

}  // namespace
