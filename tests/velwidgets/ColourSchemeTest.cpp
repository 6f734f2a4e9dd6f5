#include <guitest/GuiTest.h>
#include <velwidgets/ColourSchemeClient.h>
#include <velwidgets/GUIServices.h>
#include <velwidgets/VelPanel.h>

#include <gtest/gtest.h>
#include <wx/frame.h>

#include <functional>
#include <limits>
#include <memory>

using namespace wxUtils;

namespace {

struct RecordingClient : ColourSchemeClient {
    void onColourSchemeChanged(const ColourScheme& scheme) override {
        ++calls;
        sawActive = activeColourScheme().windowBackground == scheme.windowBackground;
        if (action) action();
    }
    int calls = 0;
    bool sawActive = false;
    std::function<void()> action;
};

ColourScheme grey(unsigned char level) {
    ColourScheme scheme;
    scheme.windowBackground = scheme.panelBackground = wxColour(level, level, level);
    scheme.text = wxColour(255 - level, 0, 0);
    return scheme;
}

}  // namespace

TEST(GUIServices, AlphaBlendAndContrast) {
    const wxColour red(200, 10, 30), mid(128, 128, 128);
    EXPECT_EQ(GUIServices::alphaBlend(red, mid, 1.0f), red);
    EXPECT_EQ(GUIServices::alphaBlend(red, mid, 0.0f), mid);
    EXPECT_EQ(GUIServices::alphaBlend(wxColour(0, 100, 255), wxColour(255, 0, 1), 0.5f), wxColour(128, 50, 128));
    EXPECT_EQ(GUIServices::getInstance()->alphaBlend(mid, red, 0.6f), wxColour(157, 81, 89));
    EXPECT_EQ(GUIServices::alphaBlend(red, mid, 7.0f), red);
    EXPECT_EQ(GUIServices::alphaBlend(red, mid, std::numeric_limits<float>::quiet_NaN()), mid);
    EXPECT_EQ(GUIServices::alphaBlend(wxColour(10, 20, 30, 0), mid, 1.0f).Alpha(), wxALPHA_OPAQUE);
    EXPECT_EQ(GUIServices::alphaBlend(wxNullColour, mid, 0.5f), mid);
    EXPECT_EQ(GUIServices::contrastingTextColour(wxColour(0, 0, 255)), *wxWHITE);  // dark though saturated
    EXPECT_EQ(GUIServices::contrastingTextColour(wxColour(0, 255, 0)), *wxBLACK);
}

TEST(ColourSchemeClient, BroadcastSurvivesClientsComingAndGoing) {
    const ColourScheme saved = ColourSchemeClient::activeColourScheme();
    auto first = std::make_unique<RecordingClient>();
    auto second = std::make_unique<RecordingClient>();
    auto doomed = std::make_unique<RecordingClient>();
    int doomedCalls = 0;
    doomed->action = [&] { ++doomedCalls; };
    std::unique_ptr<RecordingClient> latecomer;
    first->action = [&] { doomed.reset(); };  // a client the broadcast has not reached yet
    // Born during the broadcast, likely at the dead client's address: not told this time.
    second->action = [&] { if (!latecomer) latecomer = std::make_unique<RecordingClient>(); };

    ColourSchemeClient::applyColourScheme(grey(30));
    EXPECT_TRUE(first->sawActive);
    EXPECT_EQ(second->calls, 1);
    EXPECT_EQ(doomedCalls, 0);
    ASSERT_TRUE(latecomer);
    EXPECT_EQ(latecomer->calls, 0);
    ColourSchemeClient::applyColourScheme(grey(90));
    EXPECT_EQ(first->calls, 2);
    EXPECT_EQ(latecomer->calls, 1);
    ColourSchemeClient::applyColourScheme(saved);
}

TEST(VelPanel, TakesTheSchemeOnCreationAndFollowsChanges) {
    const ColourScheme saved = ColourSchemeClient::activeColourScheme();
    ColourSchemeClient::applyColourScheme(grey(60));
    auto* frame = new wxFrame(nullptr, wxID_ANY, "panel");
    auto* panel = new VelPanel(frame);
    EXPECT_EQ(panel->GetName(), "VelPanel");
    EXPECT_EQ(panel->GetBackgroundColour(), grey(60).panelBackground);
    auto* uncreated = new VelPanel;  // no window yet: a broadcast must leave it alone
    ColourSchemeClient::applyColourScheme(grey(200));
    EXPECT_EQ(panel->GetBackgroundColour(), grey(200).panelBackground);
    EXPECT_EQ(panel->GetForegroundColour(), grey(200).text);
    EXPECT_TRUE(uncreated->Create(frame));
    EXPECT_EQ(uncreated->GetBackgroundColour(), grey(200).panelBackground);
    EXPECT_FALSE(uncreated->Create(frame));  // once only
    ColourSchemeClient::applyColourScheme(saved);
    frame->Destroy();
    GuiTest::pumpEvents(10);
}
