// Application settings of the tests go to a private folder however the binary is started (saving a
// scene remembers it there), and a failed wxWidgets check fails the test instead of opening a dialog.
#include <gtest/gtest.h>
#include <wx/debug.h>

#include <cstdlib>
#include <filesystem>

namespace {

struct EditorFrameworkEnvironment : ::testing::Environment {
    void SetUp() override {
        wxSetAssertHandler([](const wxString& file, int line, const wxString&, const wxString& cond, const wxString& msg) {
            ADD_FAILURE_AT(file.utf8_str().data(), line) << cond << " " << msg;
        });
        std::string folder = (std::filesystem::temp_directory_path() / "velxui-tests-XXXXXX").string();
        if (!std::getenv("XDG_CONFIG_HOME") && mkdtemp(folder.data())) ::setenv("XDG_CONFIG_HOME", (config = folder).c_str(), 1);
    }
    void TearDown() override {
        std::error_code ignored;
        if (!config.empty()) std::filesystem::remove_all(config, ignored);
    }
    std::string config;
};

::testing::Environment* const environment = ::testing::AddGlobalTestEnvironment(new EditorFrameworkEnvironment);

}  // namespace
