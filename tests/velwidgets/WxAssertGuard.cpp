// A wx assertion raised during a test fails it (a misused wx call is a fault even where wx recovers);
// wx log messages go to stderr rather than to dialogs.
#include <gtest/gtest.h>
#include <wx/log.h>

namespace {

struct WxAssertGuard : testing::Environment {
    void SetUp() override {
        wxSetAssertHandler([](const wxString& file, int line, const wxString&, const wxString& cond,
                              const wxString& msg) {
            ADD_FAILURE() << "wx assertion " << cond << " at " << file << ":" << line << ": " << msg;
        });
        delete wxLog::SetActiveTarget(new wxLogStderr);
    }
};

const testing::Environment* const guard = testing::AddGlobalTestEnvironment(new WxAssertGuard);

}  // namespace
