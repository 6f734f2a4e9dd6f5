#pragma once

#include <chrono>
#include <functional>

class wxFrame;
class wxWindow;

// Helpers for tests that drive real windows in a real X server.
namespace GuiTest {

// Runs the event loop (events, then idle processing) for about this long.
void pumpEvents(int milliseconds = 50);
// Runs the event loop until the condition holds or the timeout passes; returns the condition.
bool waitUntil(const std::function<bool()>& condition, int timeoutMilliseconds = 3000);
// One turn of the event loop: pending events, then one round of idle events.
void runOneTurn();
// Lays the window out to fill the frame, shows the frame and waits until the window is on screen.
void showFilling(wxFrame* frame, wxWindow* window);

}  // namespace GuiTest
