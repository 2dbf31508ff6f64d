// The pause between the tries of a loop that waits for a service.
#pragma once

#include <chrono>

/// Pauses after try `tried`, counted from 0. After the first one it reports on standard error how
/// long all `pauses` may take, because nothing else is printed during that time.
void pause_before_retry(int tried, int pauses, std::chrono::seconds pause);
