#pragma once

#include <velxstudio/StudioFrame.h>

#include <orkacore/Logger.h>
#include <velxcore/XScene.h>

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <vector>

// A shown studio frame over the demo scene, with the user's questions answered by the test.
class StudioFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    // Makes a new frame (the old one is closed without questions).
    void openFrame(const StudioFrame::Options& options);
    // Moves the pointer over the frame so that simulated keys reach it.
    void focusFrame();
    // Moves the pointer to the middle of the window and clicks it with the left button.
    static void click(wxWindow* window);
    // Renames an object as one named undo step.
    void renameAsOneStep(const wchar_t* path, const wchar_t* newName, const wchar_t* stepName);

    VelX::XScene& scene();
    static StudioFrame::Options testOptions();

    Orka::Logger m_logger;
    StudioFrame* m_frame = nullptr;
    std::vector<wxString> m_questions;   // every message the frame asked
    std::deque<int> m_answers;           // answers to give, in order (wxNO when none are left)
    wxString m_chosenFile;               // what a file dialog would return
};
