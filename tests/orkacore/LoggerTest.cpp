#include <guitest/GuiTest.h>
#include <orkacore/LogPane.h>
#include <orkacore/Logger.h>

#include <gtest/gtest.h>
#include <wx/button.h>
#include <wx/ffile.h>
#include <wx/filename.h>
#include <wx/frame.h>
#include <wx/listctrl.h>
#include <wx/regex.h>
#include <wx/uiaction.h>

#include <memory>
#include <vector>

using namespace Orka;

namespace {

wxArrayString fileLines(const wxString& path) {
    wxString text;
    wxFFile(path, "r").ReadAll(&text, wxConvUTF8);
    return wxSplit(text.BeforeLast('\n'), '\n', '\0');
}

struct TempFile {
    wxString path = wxFileName::CreateTempFileName("velx-log");
    ~TempFile() { wxRemoveFile(path); }
};

}  // namespace

TEST(Logger, FileGetsOneLinePerEntryWithTimeAndLevelAndIsAppended) {
    TempFile file;
    {
        Logger logger;
        logger.information("before the file");
        ASSERT_TRUE(logger.setLogFile(file.path));
        logger.error("Script failed:\nline 3");
    }
    Logger again;
    ASSERT_TRUE(again.setLogFile(file.path));
    again.warning(wxString::FromUTF8("Missing icon \xc3\xa9"));
    again.setLogFile("");
    again.warning("after closing");
    const wxArrayString lines = fileLines(file.path);
    ASSERT_EQ(lines.size(), 2u);
    wxRegEx line(R"(^[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3} \[([A-Za-z]+)\] (.*)$)");
    ASSERT_TRUE(line.Matches(lines[0])) << lines[0];
    EXPECT_EQ(line.GetMatch(lines[0], 1), "Error");
    EXPECT_EQ(line.GetMatch(lines[0], 2), "Script failed:\\nline 3");
    ASSERT_TRUE(line.Matches(lines[1])) << lines[1];
    EXPECT_EQ(line.GetMatch(lines[1], 2), wxString::FromUTF8("Missing icon \xc3\xa9"));
}

TEST(Logger, UnopenableFileIsRefusedWithAWarningAndTheOldFileGoesOn) {
    TempFile file;
    Logger logger;
    ASSERT_TRUE(logger.setLogFile(file.path));
    EXPECT_FALSE(logger.setLogFile(wxFileName(file.path).GetPath()));  // a folder
    EXPECT_FALSE(logger.setLogFile("/nonexistent-velx/studio.log"));
    ASSERT_EQ(logger.entries().size(), 2u);
    EXPECT_EQ(logger.entries().back().level, LogLevel::Warning);
    EXPECT_TRUE(logger.entries().back().text.Contains("/nonexistent-velx/studio.log"));
    logger.information("still written");
    EXPECT_EQ(fileLines(file.path).size(), 3u);
}

TEST(Logger, MinimumLevelDropsLowerEntriesEverywhere) {
    TempFile file;
    Logger logger;
    ASSERT_TRUE(logger.setLogFile(file.path));
    std::vector<LogLevel> heard;
    logger.addListener([&](const LogEntry& entry) { heard.push_back(entry.level); });
    logger.setMinimumLevel(LogLevel::Warning);
    logger.debug("d");
    logger.information("i");
    logger.warning("w");
    logger.error("e");
    ASSERT_EQ(logger.entries().size(), 2u);
    EXPECT_EQ(logger.entries()[0].text, "w");
    EXPECT_EQ(heard, (std::vector<LogLevel>{LogLevel::Warning, LogLevel::Error}));
    EXPECT_EQ(fileLines(file.path).size(), 2u);
}

TEST(Logger, ListenersComeAndGoWhileTheyAreToldAndOnlyTheLatestEntriesStay) {
    Logger logger;
    std::vector<wxString> first, second, third;
    int secondId = 0, thirdId = 0;
    logger.addListener([&](const LogEntry& entry) {
        first.push_back(entry.text);
        logger.removeListener(secondId);        // a later listener, before it is told
        logger.information("from a listener");  // kept, not sent round again
    });
    secondId = logger.addListener([&](const LogEntry& entry) { second.push_back(entry.text); });
    thirdId = logger.addListener([&](const LogEntry& entry) {
        third.push_back(entry.text);
        logger.removeListener(thirdId);  // itself, while running
    });
    logger.warning("one");
    logger.warning("two");
    EXPECT_EQ(first, (std::vector<wxString>{"one", "two"}));
    EXPECT_TRUE(second.empty());
    EXPECT_EQ(third, (std::vector<wxString>{"one"}));
    EXPECT_EQ(logger.entries().size(), 4u);

    Logger full;
    for (size_t i = 0; i < Logger::MaxEntries + 50; ++i) full.debug(wxString::Format("#%zu", i));
    ASSERT_EQ(full.entries().size(), Logger::MaxEntries);
    EXPECT_EQ(full.entries().front().text, "#50");
    EXPECT_EQ(full.entries().back().text, wxString::Format("#%zu", Logger::MaxEntries + 49));

    // Long entries are cut, and the kept text stays within 4 Mi characters.
    Logger flooded;
    flooded.error(wxString(1000000, 'x'));
    EXPECT_LT(flooded.entries().back().text.length(), 16u * 1024u + 100u);
    EXPECT_TRUE(flooded.entries().back().text.EndsWith("left out)"));
    for (int i = 0; i < 1000; ++i) flooded.information(wxString(15000, 'y'));
    size_t characters = 0;
    for (const LogEntry& e : flooded.entries()) characters += e.text.length();
    EXPECT_LE(characters, 4u * 1024u * 1024u);
    EXPECT_EQ(flooded.entries().back().text, wxString(15000, 'y'));
}

namespace {

class LogPaneTest : public testing::Test {
protected:
    void SetUp() override {
        frame = new wxFrame(nullptr, wxID_ANY, "log", wxPoint(60, 60), wxSize(700, 300));
        logger = std::make_unique<Logger>();
        pane = dynamic_cast<LogPane*>(logger->createPane(frame));
        ASSERT_NE(pane, nullptr);
        frame->Show();
        GuiTest::waitUntil([&] { return pane->IsShownOnScreen(); });
        GuiTest::pumpEvents(30);
    }
    void TearDown() override {
        frame->Destroy();
        GuiTest::pumpEvents(10);
    }
    bool rowsBecome(long count) {
        return GuiTest::waitUntil([&] { return pane->list()->GetItemCount() == count; });
    }

    wxFrame* frame = nullptr;
    std::unique_ptr<Logger> logger;
    LogPane* pane = nullptr;
};

}  // namespace

TEST_F(LogPaneTest, ShowsEntriesColouredWithTheNewestInView) {
    logger->information("Scene loaded");
    logger->error("Disk full");
    logger->warning("Slow\nframe");
    EXPECT_EQ(pane->list()->GetItemCount(), 0);  // shown on the next turn of the loop
    ASSERT_TRUE(rowsBecome(3));
    EXPECT_EQ(pane->list()->GetItemText(1, 1), "Error");
    EXPECT_EQ(pane->list()->GetItemText(1, 2), "Disk full");
    EXPECT_EQ(pane->list()->GetItemText(2, 2), "Slow  frame");
    EXPECT_NE(pane->rowColour(1), pane->rowColour(0));
    EXPECT_NE(pane->rowColour(2), pane->rowColour(0));
    EXPECT_NE(pane->rowColour(1), pane->rowColour(2));

    for (int i = 0; i < 300; ++i) logger->information(wxString::Format("line %d", i));
    ASSERT_TRUE(rowsBecome(303));
    GuiTest::pumpEvents(30);
    const long top = pane->list()->GetTopItem();
    EXPECT_GT(top, 0);
    EXPECT_GE(top + pane->list()->GetCountPerPage(), 302);  // the last row is on screen
}

TEST_F(LogPaneTest, ClearButtonEmptiesTheLog) {
    logger->error("to be cleared");
    ASSERT_TRUE(rowsBecome(1));
    wxUIActionSimulator simulator;
    simulator.MouseMove(pane->clearButton()->GetScreenRect().GetPosition() + pane->clearButton()->GetSize() / 2);
    GuiTest::pumpEvents(30);
    simulator.MouseClick();
    EXPECT_TRUE(GuiTest::waitUntil([&] { return logger->entries().empty(); }));
    EXPECT_TRUE(rowsBecome(0));
}

TEST_F(LogPaneTest, PaneOutlivesItsLoggerAndLoggerOutlivesItsPane) {
    logger->warning("kept");
    logger->error("kept too");
    logger.reset();
    ASSERT_TRUE(rowsBecome(2));
    EXPECT_EQ(pane->rowText(1, 2), "kept too");

    Logger second;
    wxWindow* other = second.createPane(frame);
    second.information("seen");
    other->Destroy();
    GuiTest::pumpEvents(10);
    second.error("after the pane");  // must not reach the dead pane
    EXPECT_EQ(second.entries().size(), 2u);
}
