#pragma once

class wxFrame;

// Shared by the user-interface benchmarks.
namespace UiBenchmark {

// One turn of the event loop: pending events, then one round of idle events (the main-loop pass).
void runOneTurn();
// Shows the frame and lets it map and settle before anything is timed.
void showAndSettle(wxFrame* frame);
// Destroys the frame and lets the event loop finish the job.
void closeFrame(wxFrame* frame);

}  // namespace UiBenchmark
