#include <guitest/GuiTest.h>
#include <velwidgets/AppMainLoop.h>
#include <velwidgets/AppMainLoopRedrawClient.h>

#include <gtest/gtest.h>
#include <wx/app.h>

#include <functional>
#include <memory>
#include <vector>

using namespace wxUtils;

namespace {

// Counts its passes and runs an optional action in each, like a panel doing its deferred work.
struct Client : AppMainLoopRedrawClient {
    explicit Client(bool registered = true) {
        if (registered) AppMainLoop::Instance().addRedrawClient(this);
    }
    ~Client() override { AppMainLoop::Instance().removeRedrawClient(this); }
    void onAppMainLoopRedraw() override {
        ++calls;
        if (auto run = action) run();  // a copy: the action may replace itself
    }
    int calls = 0;
    std::function<void()> action;
};

class AppMainLoopTest : public testing::Test {
protected:
    void SetUp() override {
        loop.install(wxTheApp);
        GuiTest::pumpEvents(10);  // whatever earlier tests requested is done
        start = loop.passCount();
    }
    void TearDown() override { loop.uninstall(); }
    unsigned long passes() const { return loop.passCount() - start; }

    AppMainLoop& loop = AppMainLoop::Instance();
    unsigned long start = 0;
};

}  // namespace

TEST_F(AppMainLoopTest, ManyRequestsMakeOnePassAtTheNextIdleAndNoRequestNone) {
    Client client;
    for (int i = 0; i < 1000; ++i) loop.requestPass();
    EXPECT_EQ(passes(), 0u);
    GuiTest::runOneTurn();
    EXPECT_EQ(passes(), 1u);
    EXPECT_EQ(client.calls, 1);
    GuiTest::pumpEvents(30);  // idle turns without a request
    EXPECT_EQ(client.calls, 1);
    loop.uninstall();
    loop.requestPass();
    GuiTest::pumpEvents(20);
    EXPECT_EQ(client.calls, 1);  // not installed: no idle passes
}

TEST_F(AppMainLoopTest, ClientsRemovedDuringAPassAreSkippedAndAddedOnesWait) {
    Client a, b, c;
    Client late(false);
    a.action = [&] {
        loop.removeRedrawClient(&b);  // a later client
        loop.addRedrawClient(&late);
    };
    c.action = [&] { loop.removeRedrawClient(&c); };  // itself
    loop.runRedrawPass();
    EXPECT_EQ(std::vector<int>({a.calls, b.calls, c.calls, late.calls}), std::vector<int>({1, 0, 1, 0}));
    a.action = nullptr;
    loop.runRedrawPass();
    EXPECT_EQ(std::vector<int>({a.calls, b.calls, c.calls, late.calls}), std::vector<int>({2, 0, 1, 1}));
}

TEST_F(AppMainLoopTest, NestedPassIsIgnoredAndARequestMadeInAPassGetsTheNextIdle) {
    Client a;
    a.action = [&] {
        EXPECT_TRUE(loop.isInPass());
        loop.runRedrawPass();
        if (a.calls == 1) loop.requestPass();
    };
    loop.requestPass();
    GuiTest::runOneTurn();
    EXPECT_EQ(a.calls, 1);
    EXPECT_TRUE(GuiTest::waitUntil([&] { return a.calls == 2; }, 1000));
    GuiTest::pumpEvents(20);
    EXPECT_EQ(passes(), 2u);
}

TEST_F(AppMainLoopTest, AClientThatForgetsToUnregisterLeavesWhenDestroyed) {
    struct Forgetful : AppMainLoopRedrawClient {
        void onAppMainLoopRedraw() override {}
    };
    auto client = std::make_unique<Forgetful>();
    const AppMainLoopRedrawClient* address = client.get();
    loop.addRedrawClient(client.get());
    loop.addRedrawClient(client.get());
    EXPECT_EQ(loop.redrawClientCount(), 1u);
    client.reset();
    EXPECT_FALSE(loop.hasRedrawClient(address));
    loop.runRedrawPass();  // would call the dead object
}

// What a pass costs is measured by BM_RedrawPassNoWork; here: every pass reaches every client.
TEST_F(AppMainLoopTest, EveryPassCallsEveryClientOnce) {
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < 20; ++i) clients.push_back(std::make_unique<Client>());
    const int rounds = 200;
    for (int i = 0; i < rounds; ++i) loop.runRedrawPass();
    for (const auto& client : clients) EXPECT_EQ(client->calls, rounds);
}
