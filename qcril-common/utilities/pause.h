// The only way in which the tool lets time pass. Waits for events, such as an answer or a service,
// have their own timeouts.
#pragma once

#include <chrono>

/// Sleeps for the full time, regardless of signals. In a source file of its own, so that test
/// programs can link a replacement.
void pause_for(std::chrono::milliseconds time);
