#pragma once

// Shared by the user-interface benchmarks.
namespace UiBenchmark {

// One turn of the event loop: pending events, then one round of idle events (the main-loop pass).
void runOneTurn();

}  // namespace UiBenchmark
