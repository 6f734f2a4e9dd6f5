#include <orkacore/ColourManager.h>
#include <orkacore/ColourObserver.h>
#include <velwidgets/ColourSchemeClient.h>
#include <velwidgets/GUIServices.h>

#include <gtest/gtest.h>

#include <functional>

using Orka::ColourGroup;
using Orka::ColourManager;
using SchemeKind = Orka::ColourManager::SchemeKind;

namespace {

struct Observer : Orka::ColourObserver {
    void onColourSchemeChanged() override {
        ++calls;
        clientsHadDark = wxUtils::ColourSchemeClient::activeColourScheme().dark;
        if (action) action();
    }
    int calls = 0;
    bool clientsHadDark = false;
    std::function<void()> action;
};

struct Client : wxUtils::ColourSchemeClient {
    void onColourSchemeChanged(const wxUtils::ColourScheme& scheme) override {
        ++calls;
        last = scheme;
    }
    int calls = 0;
    wxUtils::ColourScheme last;
};

class ColourManagerTest : public testing::Test {
protected:
    void TearDown() override { manager.setScheme(SchemeKind::Light); }
    ColourManager& manager = ColourManager::Instance();
};

}  // namespace

TEST_F(ColourManagerTest, SwitchingNotifiesEachObserverOnceAfterTheClients) {
    Observer first, second, third;
    Client client;
    first.action = [&] { manager.removeObserver(&second); };  // leaves before being told
    third.action = [&] { manager.removeObserver(&third); };   // leaves while being told
    for (Observer* observer : {&first, &first, &second, &third}) manager.addObserver(observer);

    manager.setScheme(SchemeKind::Dark);
    EXPECT_EQ(first.calls, 1);
    EXPECT_TRUE(first.clientsHadDark);
    EXPECT_EQ(second.calls, 0);
    EXPECT_EQ(third.calls, 1);
    EXPECT_EQ(client.calls, 1);
    EXPECT_EQ(client.last.windowBackground, ColourManager::darkScheme().windowBackground);
    manager.setScheme(SchemeKind::Dark);  // already active
    EXPECT_EQ(first.calls + client.calls, 2);
    manager.setScheme(SchemeKind::Light);
    EXPECT_EQ(first.calls, 2);
    EXPECT_EQ(third.calls, 1);
    EXPECT_FALSE(client.last.dark);
    manager.removeObserver(&first);
}

TEST_F(ColourManagerTest, DisplayItemColoursFollowTheSchemeAndUnknownItemsFallBack) {
    const ColourGroup* items = manager.colourGroup(ColourManager::DisplayItems);
    ASSERT_NE(items, nullptr);
    for (const char* item : {"Background", "Text", "Selection", "Grid", "Highlight", "Animated", "Connected", "Locked"}) {
        EXPECT_NE(items->colour(item, false), items->colour(item, true)) << item;
    }
    EXPECT_EQ(manager.getActiveDisplayItemColour("Display Items", "Background"),
              ColourManager::lightScheme().windowBackground);
    manager.setScheme(SchemeKind::Dark);
    EXPECT_EQ(manager.getActiveDisplayItemColour("Display Items", "Background"),
              ColourManager::darkScheme().windowBackground);
    EXPECT_EQ(manager.getActiveDisplayItemColour("Display Items", "NoSuchItem"), manager.activeScheme().text);
    EXPECT_EQ(manager.getActiveDisplayItemColour("NoSuchGroup", "Background"), manager.activeScheme().text);

    ColourGroup curves("AnimationControl");
    curves.setItem("CurveXColour", wxColour(220, 60, 60), wxColour(255, 100, 100));
    manager.addColourGroup(curves);
    const ColourGroup* added = manager.colourGroup("AnimationControl");
    curves.setItem("CurveXColour", wxColour(1, 2, 3), wxColour(4, 5, 6));
    manager.addColourGroup(curves);  // replaces the group in place
    EXPECT_EQ(manager.colourGroup("AnimationControl"), added);
    EXPECT_EQ(manager.getActiveDisplayItemColour("AnimationControl", "CurveXColour"), wxColour(4, 5, 6));
}

TEST_F(ColourManagerTest, BothSchemesAreReadable) {
    using wxUtils::GUIServices;
    for (const wxUtils::ColourScheme& scheme : {ColourManager::lightScheme(), ColourManager::darkScheme()}) {
        for (const wxColour& background : {scheme.windowBackground, scheme.panelBackground, scheme.titleBackground,
                                           scheme.animatedBackground, scheme.connectedBackground}) {
            EXPECT_GE(GUIServices::contrastRatio(scheme.text, background), 4.5) << background.GetAsString();
        }
        EXPECT_GE(GUIServices::contrastRatio(scheme.selectionText, scheme.selectionBackground), 4.5);
    }
    EXPECT_LT(GUIServices::luminance(ColourManager::darkScheme().windowBackground), 0.05);
}
