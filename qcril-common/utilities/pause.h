// The one way in which the tool waits for nothing but time. What it waits for otherwise, an answer
// or a service, has a time limit of its own where it is waited for.
#pragma once

#include <chrono>

/// Returns when the time is over, whatever signals are handled meanwhile. Linked from a file of its
/// own, so that a program of tests can bring another.
void pause_for(std::chrono::milliseconds time);
