// The studio's command line, scripts run with --run, and the screenshot of the studio at start.
#include <velxstudio/StudioOptions.h>
#include <velxstudio/StudioScriptRunner.h>

#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XDemoScene.h>
#include <velxcore/XScene.h>

#include <gtest/gtest.h>
#include <wx/ffile.h>
#include <wx/filename.h>
#include <wx/image.h>
#include <wx/utils.h>

#include <set>
#include <vector>

namespace {

StudioOptions parse(std::vector<wxString> arguments) {
    arguments.insert(arguments.begin(), "velx-studio");
    return StudioOptions::parse(static_cast<int>(arguments.size()), arguments.data());
}

wxString writeTemp(const wxString& name, const wxString& text) {
    const wxString file =
        wxFileName(wxFileName::GetTempDir(), wxString::Format("velx-cli-%lu-%s", wxGetProcessId(), name)).GetFullPath();
    wxFFile out(file, "wb");
    out.Write(text);
    return file;
}

}  // namespace

TEST(StudioOptions, ReadsTheThreeOptionsAndRefusesMistakesClearly) {
    StudioOptions all = parse({"--scene", "a.velx", "--run", "setup.py", "--screenshot", "out.png"});
    EXPECT_TRUE(all.error.empty()) << all.error;
    EXPECT_EQ(all.sceneFile, "a.velx");
    EXPECT_EQ(all.scriptFile, "setup.py");
    EXPECT_TRUE(all.screenshotMode());

    EXPECT_FALSE(parse({}).screenshotMode());
    EXPECT_TRUE(parse({"--help"}).showHelp);
    EXPECT_EQ(parse({"--scene"}).error, "--scene needs a file name.");
    EXPECT_EQ(parse({"--scene", "--run", "x.lua"}).error, "--scene needs a file name.");
    EXPECT_EQ(parse({"--screenshot", "out.jpg"}).error,
              "The screenshot is saved as PNG: \"out.jpg\" must end in .png.");
    EXPECT_EQ(parse({"--run", "notes.txt"}).error,
              "--run takes a Lua (.lua) or Python (.py) script, not \"notes.txt\".");
    EXPECT_EQ(parse({"--fast"}).error, "Unknown option \"--fast\".");
}

TEST(StudioScriptRunner, RunsLuaAndPythonAsOneStepAndRollsBackAFailure) {
    VelX::XScene& scene = VelX::XApplication::Instance().ActiveScene();
    scene.New();
    VelX::XDemoScene::build(scene);
    VelX::XDatabase& database = scene.Database();

    const wxString lua = writeTemp("rename.lua", "velx.rename('Hero/Hips', 'Pelvis')\n");
    EXPECT_TRUE(StudioScriptRunner::runFile(lua, scene)) << wxString(VelX::XApplication::Instance().LogLines().back());
    EXPECT_TRUE(database.Object(L"Hero/Pelvis").IsValid());
    EXPECT_EQ(wxString(database.UndoName()), wxFileName(lua).GetFullName());

    const wxString python = writeTemp("rename.py", "import velx\nvelx.rename('Hero/Pelvis', 'Hips')\n");
    EXPECT_TRUE(StudioScriptRunner::runFile(python, scene));
    EXPECT_TRUE(database.Object(L"Hero/Hips").IsValid());

    // A script that changes the scene and then fails leaves no trace.
    const size_t objects = database.ObjectCount();
    const wxString failing = writeTemp("failing.lua", "velx.rename('Hero/Hips', 'Gone')\nerror('stop here')\n");
    wxString error;
    EXPECT_FALSE(StudioScriptRunner::runFile(failing, scene, &error));
    EXPECT_NE(error.Find("stop here"), wxNOT_FOUND) << error;
    EXPECT_TRUE(database.Object(L"Hero/Hips").IsValid());
    EXPECT_EQ(database.ObjectCount(), objects);

    EXPECT_FALSE(StudioScriptRunner::runFile("/nonexistent/script.lua", scene, &error));
    EXPECT_EQ(error, "Cannot read the script \"/nonexistent/script.lua\".");
    for (const wxString& file : {lua, python, failing}) wxRemoveFile(file);
}

TEST(StudioScreenshot, TheStudioAtStartIsSavedAsAWindowSizedPictureThatIsNotBlank) {
    const wxString png =
        wxFileName(wxFileName::GetTempDir(), wxString::Format("velx-studio-%lu.png", wxGetProcessId())).GetFullPath();
    wxRemoveFile(png);
    wxArrayString output, errors;
    const long status = wxExecute(wxString::Format("%s --screenshot %s", VELX_STUDIO_EXE, png), output, errors,
                                  wxEXEC_SYNC | wxEXEC_NODISABLE);
    ASSERT_EQ(status, 0) << "stderr: " << wxJoin(errors, '\n');
    ASSERT_TRUE(wxFileExists(png));
    // The program reports the window's size: "Screenshot saved: FILE (W x H)".
    ASSERT_FALSE(output.empty());
    long width = 0, height = 0;
    const wxString size = output.Last().AfterLast('(').BeforeLast(')');
    ASSERT_TRUE(size.BeforeFirst(' ').ToLong(&width) && size.AfterLast(' ').ToLong(&height)) << output.Last();

    if (!wxImage::FindHandler(wxBITMAP_TYPE_PNG)) wxImage::AddHandler(new wxPNGHandler);
    wxImage image(png, wxBITMAP_TYPE_PNG);
    ASSERT_TRUE(image.IsOk());
    EXPECT_EQ(image.GetWidth(), width);
    EXPECT_EQ(image.GetHeight(), height);
    EXPECT_GE(width, 800);
    // A painted window has text, bars and panes: many distinct colours, not one fill.
    std::set<unsigned> colours;
    const unsigned char* rgb = image.GetData();
    for (long i = 0; i < width * height && colours.size() < 64; i += 7)
        colours.insert((rgb[3 * i] << 16) | (rgb[3 * i + 1] << 8) | rgb[3 * i + 2]);
    EXPECT_GE(colours.size(), 16u) << "the screenshot looks blank";
    wxRemoveFile(png);
}
