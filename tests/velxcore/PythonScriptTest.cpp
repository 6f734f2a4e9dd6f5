#include <velxcore/XApplication.h>
#include <velxcore/XPythonScript.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneFile.h>
#include <velxcore/XScriptApi.h>

#include <veldatabase/Database.h>
#include <velutils/StringUtils.h>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <string>
#include <vector>

using namespace VelX;

namespace {

const char* const Owner = "PythonScriptTest";

// The log lines written since the mark, as one text.
std::wstring logSince(std::size_t mark) {
    const std::vector<std::wstring>& lines = XApplication::Instance().LogLines();
    std::wstring out;
    for (std::size_t i = mark; i < lines.size(); ++i) out += lines[i] + L"\n";
    return out;
}

std::size_t logMark() { return XApplication::Instance().LogLines().size(); }

bool contains(const std::wstring& text, const std::wstring& part) { return text.find(part) != std::wstring::npos; }

std::string json(XScene& scene) { return XSceneFile::toJson(scene.Database().db()); }

// A runner bound to its own scene, with a short budget so a fault cannot hang the suite.
struct BoundRunner {
    XScene scene;
    XPythonScript python;
    BoundRunner() {
        python.BindScene(&scene);
        python.SetTimeBudget(5.0);
    }
    bool run(const std::wstring& text, const std::wstring& name = L"test script") { return python.RunScript(text, name); }
};

// Removes the test's plug-in functions however the test ends.
struct TestFunctions {
    XScriptFunctions& functions = XApplication::Instance().ScriptFunctions();
    ~TestFunctions() { functions.removeOwnedBy(Owner); }
};

}  // namespace

TEST(PythonRun, ReportsSuccessAndFailureWithTracebackNamingScriptAndLine) {
    ASSERT_TRUE(XPythonScript::IsAvailable());
    BoundRunner r;
    EXPECT_TRUE(r.run(L"x = 1\nassert __name__ == '__main__'\n"));
    EXPECT_TRUE(r.python.LastError().empty());

    const std::size_t mark = logMark();
    EXPECT_FALSE(r.run(L"a = 1\nb = 2\ny = undefined_name + a\n", L"simulation update script"));
    const std::wstring log = logSince(mark);
    EXPECT_TRUE(contains(log, L"File \"simulation update script\", line 3")) << Velutils::StringUtils::toUtf8(log);
    EXPECT_TRUE(contains(log, L"y = undefined_name + a"));  // the script's own line is shown
    EXPECT_TRUE(contains(log, L"NameError"));
    EXPECT_TRUE(contains(r.python.LastError(), L"line 3"));

    EXPECT_FALSE(r.run(L"x = 1\nif x\n", L"broken"));
    EXPECT_TRUE(contains(r.python.LastError(), L"File \"broken\", line 2"));
    EXPECT_TRUE(contains(r.python.LastError(), L"SyntaxError"));
    EXPECT_FALSE(r.run(std::wstring(L"x = 1\0y = 2", 11)));
    EXPECT_TRUE(contains(r.python.LastError(), L"NUL"));
}

TEST(PythonRun, InterpreterSurvivesExitInterruptMemoryAndRecursionErrors) {
    BoundRunner r;
    EXPECT_FALSE(r.run(L"import sys\nsys.exit(3)\n"));
    EXPECT_TRUE(contains(r.python.LastError(), L"exited with status 3"));
    EXPECT_FALSE(r.run(L"exit('giving up')\n"));
    EXPECT_TRUE(contains(r.python.LastError(), L"giving up"));
    EXPECT_TRUE(r.run(L"import sys\nsys.exit(0)\nraise ValueError\n"));  // ends early, successfully
    EXPECT_TRUE(r.run(L"import sys\nsys.exit()\n"));

    EXPECT_FALSE(r.run(L"raise KeyboardInterrupt\n"));
    EXPECT_TRUE(contains(r.python.LastError(), L"KeyboardInterrupt"));
    EXPECT_FALSE(r.run(L"def f(n):\n    return f(n + 1)\nf(0)\n"));
    EXPECT_TRUE(contains(r.python.LastError(), L"RecursionError"));
    EXPECT_FALSE(r.run(L"import sys\nsys.setrecursionlimit(50)\nx = [0, 0] * (2 ** 62)\n"));
    EXPECT_TRUE(contains(r.python.LastError(), L"MemoryError"));
    EXPECT_FALSE(r.run(L"input()\n"));  // stdin reads as empty instead of blocking
    EXPECT_TRUE(contains(r.python.LastError(), L"EOFError"));

    // Still alive, with a fresh namespace and the recursion limit put back.
    EXPECT_TRUE(r.run(L"import sys\nassert sys.getrecursionlimit() >= 1000\nassert 'f' not in globals()\n"));
}

TEST(PythonRun, PrintWritesWholeLinesToTheLog) {
    BoundRunner r;
    const std::size_t mark = logMark();
    EXPECT_TRUE(r.run(L"import sys\nprint('hello', 42)\nsys.stdout.write('part')\nprint(' two')\n"
                      L"print('unfinished', end='')\n"));
    EXPECT_EQ(logSince(mark), L"hello 42\npart two\nunfinished\n");
}

TEST(PythonTimeBudget, EndlessLoopsAreStoppedEvenWhenTheyCatchTheStop) {
    BoundRunner r;
    r.python.SetTimeBudget(0.2);
    EXPECT_FALSE(r.run(L"x = 0\nwhile True:\n    x += 1\n", L"loop"));
    // Where it was stopped: in the loop (its jump back belongs to the `while` line).
    EXPECT_TRUE(contains(r.python.LastError(), L"\"loop\", line 2: script stopped") ||
                contains(r.python.LastError(), L"\"loop\", line 3: script stopped"))
        << Velutils::StringUtils::toUtf8(r.python.LastError());
    const std::vector<std::wstring> loops = {
        L"x = 0\nwhile True: pass\n",
        L"try:\n    while True: pass\nexcept Exception:\n    pass\n",
        L"n = 0\nwhile True:\n    try:\n        while True:\n            pass\n    except BaseException:\n        n += 1\n",
        L"import sys\nsys.settrace(None)\nwhile True: pass\n",  // the watchdog raises it without the trace
        L"def spin():\n    while True:\n        try:\n            yield\n        finally:\n            continue\nfor _ in spin(): pass\n",
    };
    for (const std::wstring& loop : loops) {
        bool ran = true;
        ran = r.run(loop, L"loop");
        EXPECT_FALSE(ran) << Velutils::StringUtils::toUtf8(loop);
        EXPECT_TRUE(contains(r.python.LastError(), L"script stopped: it ran longer than 0.2 s (the time budget in the settings)"))
            << Velutils::StringUtils::toUtf8(r.python.LastError());
    }

    // An exception whose text never comes is reported without it.
    EXPECT_FALSE(r.run(L"class Stuck(Exception):\n    def __str__(self):\n        while True: pass\nraise Stuck()\n"));
    EXPECT_TRUE(contains(r.python.LastError(), L"Stuck (its message could not be shown)"));

    // Runs on another thread are watched the same way.
    bool ranOnThread = true;
    std::thread([&] { ranOnThread = r.run(L"while True: pass\n"); }).join();
    EXPECT_FALSE(ranOnThread);
    EXPECT_TRUE(contains(r.python.LastError(), L"script stopped"));

    // Nothing of the stop is left over for the next run, and ordinary errors are not stops.
    EXPECT_TRUE(r.run(L"total = sum(range(1000))\n"));
    EXPECT_FALSE(r.run(L"raise RuntimeError('mine')\n"));
    EXPECT_FALSE(contains(r.python.LastError(), L"stopped"));
}

TEST(PythonTimeBudget, FollowsTheApplicationSettingUnlessOverridden) {
    XScriptLimits& limits = XApplication::Instance().ScriptLimits();
    const double saved = limits.timeBudgetSeconds;
    limits.timeBudgetSeconds = 0.2;
    XScene scene;
    XPythonScript python;
    python.BindScene(&scene);
    EXPECT_DOUBLE_EQ(python.TimeBudget(), 0.2);
    EXPECT_FALSE(python.RunScript(L"while True: pass\n"));
    EXPECT_TRUE(contains(python.LastError(), L"longer than 0.2 s"));
    python.SetTimeBudget(0.0);  // no limit
    EXPECT_TRUE(python.RunScript(L"import time\nend = time.monotonic() + 0.4\nwhile time.monotonic() < end: pass\n"));
    limits.timeBudgetSeconds = saved;
}

TEST(PythonTimeBudget, NestedRunStoppedAloneAndTheOuterGoesOn) {
    XScene scene;
    XPythonScript inner;
    inner.BindScene(&scene);
    inner.SetTimeBudget(0.2);
    TestFunctions test;
    ASSERT_TRUE(test.functions.add(
        "python_test_nested", [&](const std::vector<db::Value>&) { return db::Value(inner.RunScript(L"while True: pass\n", L"inner")); },
        Owner));
    BoundRunner outer;
    EXPECT_TRUE(outer.run(L"assert velx.python_test_nested() is False\nn = 0\nfor i in range(1000): n += i\n"
                          L"assert velx.python_test_nested() is False\n"));
    EXPECT_TRUE(contains(inner.LastError(), L"script stopped"));
    EXPECT_TRUE(outer.python.LastError().empty()) << Velutils::StringUtils::toUtf8(outer.python.LastError());
}

TEST(PythonVelx, SceneOperationsRoundTrip) {
    BoundRunner r;
    ASSERT_TRUE(r.run(LR"PY(
import velx
box = velx.create('Transform', 'Box')
arm = velx.create('Transform', 'Arm', box)
assert arm == 'Box/Arm' and velx.find(arm) == arm and velx.find('Box/Leg') is None
assert velx.exists('Box') and not velx.exists('') and velx.type(arm) == 'Transform'
assert velx.children() [-1:] == ['Box'] and velx.children('Box') == ['Box/Arm']
assert 'Box/Arm' in velx.find_by_type('Transform', exact=True)
assert 'translateX' in velx.attributes(arm)
velx.set(arm, 'translateX', 2.5)
velx.set(arm, 'visibility', False)
assert velx.get(arm, 'translateX') == 2.5 and velx.get(arm, 'visibility') is False
m = velx.get(arm, 'worldMatrix')
assert len(m) == 16 and m[12] == 2.5 and m[0] == 1.0
arm = velx.rename(arm, 'Wing')
assert velx.reparent(arm, '') == 'Wing'
velx.select(['Box', 'Wing'])
assert velx.selection() == ['Box', 'Wing']
velx.select('Wing')
assert velx.selection() == ['Wing']

velx.set_key('Wing', 'translateY', 10, 3.0)
velx.set_key('Wing', 'translateY', frame=20, value=5.0)
velx.set_frame(20)
assert velx.frame() == 20.0 and velx.get('Wing', 'translateY') == 5.0
velx.set_frame(10)
assert velx.get('Wing', 'translateY') == 3.0
velx.clear_keys('Wing', 'translateY')

velx.connect('Box.translateZ', 'Wing.translateZ')
velx.set('Box', 'translateZ', 4.0)
assert velx.get('Wing', 'translateZ') == 4.0
velx.disconnect('Wing.translateZ')

velx.begin_block()
velx.create('Transform', 'A')
velx.create('Transform', 'B')
velx.end_block('Two')
assert velx.undo() and not velx.exists('A') and not velx.exists('B')
assert velx.redo() and velx.exists('B')
velx.delete('B')
assert not velx.exists('B')

try:
    velx.get('Nope', 'translateX')
    raise AssertionError('no error')
except velx.Error as e:
    assert "no object at 'Nope'" in str(e)
assert issubclass(velx.Error, Exception)
for bad in (lambda: velx.set('Wing', 'translateX', {}), lambda: velx.set_frame(float('nan')),
            lambda: velx.end_block(), lambda: velx.create('NoSuchType', 'x'), lambda: velx.select([1])):
    try:
        bad()
        raise AssertionError('no error')
    except velx.Error:
        pass
)PY")) << Velutils::StringUtils::toUtf8(r.python.LastError());
    EXPECT_TRUE(r.scene.Database().Object(L"Box").IsValid());
    EXPECT_TRUE(r.scene.Database().Object(L"Wing").IsValid());

    EXPECT_FALSE(r.run(L"import velx\nvelx.get('Nope', 'translateX')\n"));
    EXPECT_TRUE(contains(r.python.LastError(), L"velx.Error: no object at 'Nope'"));
}

// Keys set away from the current frame leave it where it is; many keys go in as one undo step.
TEST(PythonVelx, KeysAreSetAtAnyFrameOneOrManyAtATime) {
    BoundRunner r;
    ASSERT_TRUE(r.run(LR"PY(
import velx
velx.create('Transform', 'Ball')
velx.set_frame(3)
velx.set_key('Ball', 'translateX', 50, 1.5)
velx.set_key('Ball', 'translateX', 60)
assert velx.frame() == 3.0
velx.set_keys('Ball', 'translateX', [40, 10, 30, 20, 50, 30], [4, 1, 9, 2, 5, 3])
for frame, value in [(10, 1), (20, 2), (30, 3), (40, 4), (50, 5), (60, 1.5)]:
    velx.set_frame(frame)
    assert velx.get('Ball', 'translateX') == value, (frame, velx.get('Ball', 'translateX'))
assert velx.undo()
velx.set_frame(40)
assert velx.get('Ball', 'translateX') == 1.5

def refused(words, *args):
    try:
        velx.set_keys(*args)
    except velx.Error as e:
        assert words in str(e), str(e)
    else:
        raise AssertionError('no error: ' + words)
refused('frames and values differ in length (2 and 1)', 'Ball', 'translateX', [1, 2], [1])
refused('values[1] must be a finite number', 'Ball', 'translateX', [1, 2], [1, float('nan')])
refused('frames must be a list of numbers', 'Ball', 'translateX', 5, [1])
refused("'worldMatrix' cannot be animated", 'Ball', 'worldMatrix', [1], [1])
)PY"));
}

TEST(PythonVelx, ValuesAndPluginFunctionsCrossTheBoundary) {
    TestFunctions test;
    XScriptFunctions& functions = test.functions;
    ASSERT_TRUE(functions.add("python_test_echo", [](const std::vector<db::Value>& a) { return db::Value(db::ValueList(a)); }, Owner));
    ASSERT_TRUE(functions.add("python_test_refuse", [](const std::vector<db::Value>&) -> db::Value {
        throw XScriptError("refused on purpose");
    }, Owner));
    ASSERT_TRUE(functions.add("python_test_crash", [](const std::vector<db::Value>&) -> db::Value {
        throw std::runtime_error("plug-in bug");
    }, Owner));
    BoundRunner r;
    EXPECT_TRUE(r.run(LR"PY(
import velx
echo = velx.python_test_echo
assert echo(1, 2.5, 'ä', None, True, [1, [2, 'x']], (3,)) == [1, 2.5, 'ä', None, True, [1, [2, 'x']], [3]]
assert echo(2 ** 40) == [float(2 ** 40)]
assert velx.call('python_test_echo', 7) == [7]
assert 'python_test_echo' in dir(velx)
for call, text in ((lambda: velx.python_test_refuse(), 'refused on purpose'), (lambda: velx.python_test_crash(), 'plug-in bug'),
                   (lambda: velx.call('python_test_missing'), 'python_test_missing'), (lambda: echo({}), 'dict')):
    try:
        call()
        raise AssertionError('no error')
    except velx.Error as e:
        assert text in str(e), str(e)
loop = []
loop.append(loop)
try:
    echo(loop)
    raise AssertionError('no error')
except velx.Error as e:
    assert 'deeply' in str(e)
assert not hasattr(velx, 'python_test_missing')
try:
    velx.get = None
    raise AssertionError('velx changed')
except AttributeError:
    pass
)PY")) << Velutils::StringUtils::toUtf8(r.python.LastError());
    functions.removeOwnedBy(Owner);
    EXPECT_TRUE(r.run(L"import velx\nassert not hasattr(velx, 'python_test_echo')\n"));
}

TEST(PythonVelx, WorksOnlyOnTheRunningThreadAndOnTheActiveSceneByDefault) {
    BoundRunner r;
    EXPECT_TRUE(r.run(LR"PY(
import threading, velx
seen = []
def other():
    try:
        velx.exists('x')
    except velx.Error as e:
        seen.append(str(e))
t = threading.Thread(target=other)
t.start()
t.join()
assert seen and 'thread' in seen[0], seen
)PY")) << Velutils::StringUtils::toUtf8(r.python.LastError());

    XPythonScript unbound;
    unbound.SetTimeBudget(5.0);
    XScene& active = XApplication::Instance().ActiveScene();
    ASSERT_TRUE(unbound.RunScript(L"import velx\nvelx.create('Transform', 'PythonTestActive')\n"));
    EXPECT_TRUE(active.Database().Object(L"PythonTestActive").IsValid());
    EXPECT_FALSE(r.scene.Database().Object(L"PythonTestActive").IsValid());
    ASSERT_TRUE(unbound.RunScript(L"import velx\nvelx.delete('PythonTestActive')\n"));
    EXPECT_FALSE(active.Database().Object(L"PythonTestActive").IsValid());

    // A block the script leaves open is ended for it.
    const std::size_t mark = logMark();
    EXPECT_TRUE(r.run(L"import velx\nvelx.begin_block()\nvelx.create('Transform', 'Open')\n"));
    EXPECT_EQ(r.scene.Database().db().blockDepth(), 0);
    EXPECT_TRUE(contains(logSince(mark), L"left 1 change block(s) open"));
}

TEST(PythonSceneScript, FailureLeavesTheSceneExactlyAsItWas) {
    XScene scene;
    XPythonScript python;
    python.SetTimeBudget(0.3);
    ASSERT_TRUE(python.RunSceneScript(L"import velx\nvelx.create('Transform', 'Keep')\nvelx.set('Keep', 'translateX', 1.0)\n",
                                      L"setup", scene));
    EXPECT_EQ(scene.Database().UndoName(), L"setup");
    const std::string before = json(scene);
    const std::size_t undoSteps = scene.Database().db().undoCount();

    const std::vector<std::wstring> failures = {
        L"import velx\nvelx.create('Transform', 'New')\nvelx.set('Keep', 'translateX', 9.0)\nvelx.delete('Keep')\nraise ValueError('late')\n",
        L"import velx\nvelx.begin_block()\nvelx.set('Keep', 'translateY', 2.0)\nvelx.end_block()\nvelx.end_block()\n",
        L"import velx\nvelx.set('Keep', 'translateX', 5.0)\nwhile True: pass\n",
        L"import velx, sys\nvelx.rename('Keep', 'Gone')\nsys.exit(2)\n",
    };
    for (const std::wstring& script : failures) {
        EXPECT_FALSE(python.RunSceneScript(script, L"failing", scene)) << Velutils::StringUtils::toUtf8(script);
        EXPECT_EQ(json(scene), before) << Velutils::StringUtils::toUtf8(script);
        EXPECT_EQ(scene.Database().db().undoCount(), undoSteps);
        EXPECT_EQ(scene.Database().db().blockDepth(), 0);
    }

    // Success is one undo step named after the script; undo brings the scene back.
    ASSERT_TRUE(python.RunSceneScript(L"import velx\nvelx.set('Keep', 'translateX', 7.0)\nvelx.create('Transform', 'Two')\n"
                                      L"assert not velx.undo()\n",
                                      L"edit", scene));
    EXPECT_EQ(scene.Database().UndoName(), L"edit");
    EXPECT_TRUE(scene.Database().Undo());
    EXPECT_EQ(json(scene), before);

    scene.Database().BeginChangeBlock();
    EXPECT_FALSE(python.RunSceneScript(L"x = 1\n", L"blocked", scene));
    EXPECT_TRUE(contains(python.LastError(), L"open change block"));
    scene.Database().EndChangeBlock();
}

TEST(PythonSceneScript, MemoryThreadsAndTheLogAreHeldToTheBudgets) {
    XScene scene;
    XPythonScript python;
    python.SetTimeBudget(10.0);
    python.SetMemoryBudget(16u << 20);
    const std::string before = json(scene);
    const std::wstring memory = L"script stopped: it used more than 16 MiB of memory";
    const std::vector<std::wstring> bombs = {
        L"keep = []\nwhile True: keep.append(' ' * 100000)\n",
        L"keep = []\nwhile True:\n    try:\n        keep.append(bytearray(1 << 20))\n    except MemoryError:\n        pass\n",
        L"import velx\ns = 'x' * (1 << 20)\nfor i in range(1000):\n    velx.set(velx.create('Transform', 'Note'), 'notes', s)\n",
        L"import velx\nfor i in range(10**7):\n    velx.create('Transform', 'Crowd')\n",
    };
    for (const std::wstring& bomb : bombs) {
        EXPECT_FALSE(python.RunSceneScript(bomb, L"bomb", scene)) << Velutils::StringUtils::toUtf8(bomb);
        EXPECT_TRUE(contains(python.LastError(), memory)) << Velutils::StringUtils::toUtf8(python.LastError());
        EXPECT_EQ(json(scene), before);
    }
    // Afterwards the interpreter and scripts that are not scene scripts have their memory back.
    XPythonScript free;
    EXPECT_TRUE(free.RunScript(L"big = bytearray(64 << 20)\ndel big\n")) << Velutils::StringUtils::toUtf8(free.LastError());

    // A scene script cannot start a thread that would outlive it; other scripts can.
    EXPECT_FALSE(python.RunSceneScript(L"import threading\nthreading.Thread(target=lambda: None).start()\n", L"threads", scene));
    EXPECT_TRUE(contains(python.LastError(), L"scene scripts cannot start threads"));
    EXPECT_FALSE(python.RunSceneScript(L"import _thread\n_thread.start_new_thread(print, ())\n", L"threads", scene));
    EXPECT_TRUE(free.RunScript(L"import threading\nt = threading.Thread(target=lambda: None)\nt.start()\nt.join()\n"))
        << Velutils::StringUtils::toUtf8(free.LastError());
    // Python cannot be sandboxed: a fresh copy of the thread module gets around the refusal, but the
    // run still fails and its threads are stopped before it returns.
    EXPECT_FALSE(python.RunSceneScript(L"import sys, time\ndel sys.modules['_thread']\nimport _thread\n"
                                       L"def spin():\n    while True: time.sleep(0.01)\n"
                                       L"_thread.start_new_thread(spin, ())\n",
                                       L"sneaky", scene));
    EXPECT_TRUE(contains(python.LastError(), L"It started 1 thread(s), which scene scripts may not; they were stopped"))
        << Velutils::StringUtils::toUtf8(python.LastError());
    EXPECT_TRUE(free.RunScript(L"import threading\nassert threading.active_count() == 1, threading.enumerate()\n"))
        << Velutils::StringUtils::toUtf8(free.LastError());

    // A scene script's log lines stop at its allowance, with one line saying so.
    const std::size_t mark = logMark();
    EXPECT_TRUE(python.RunSceneScript(L"for i in range(100):\n    print('z' * 4000)\n", L"chatty", scene));
    const std::wstring written = logSince(mark);
    EXPECT_LE(written.size(), 256u * 1024u + 300u);
    EXPECT_TRUE(contains(written, L"Python script \"chatty\": the script's further log lines in this run are dropped"));
}

TEST(PythonDocs, EveryPythonExampleRunsInAFreshScene) {
    const std::string file = VELX_SOURCE_DIR "/docs/scripting.md";
    std::ifstream in(file);
    ASSERT_TRUE(in) << "cannot read " << file;
    std::vector<std::string> blocks;
    std::string line, block;
    bool inside = false;
    while (std::getline(in, line)) {
        if (!inside && line.rfind("```python", 0) == 0) {
            inside = true;
            block.clear();
        } else if (inside && line.rfind("```", 0) == 0) {
            inside = false;
            blocks.push_back(block);
        } else if (inside) {
            block += line + "\n";
        }
    }
    EXPECT_FALSE(inside) << "an example is not closed";
    ASSERT_GE(blocks.size(), 3u);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        BoundRunner r;
        EXPECT_TRUE(r.run(Velutils::StringUtils::toWide(blocks[i]), L"example " + std::to_wstring(i + 1)))
            << blocks[i] << Velutils::StringUtils::toUtf8(r.python.LastError());
    }
}
