// The quiet flag, and the progress output that it silences.
#pragma once

/// Process-wide. While bit 0 is set, note lines and progress output stay away; usage text and hard
/// failures are still printed. Set by the eSIM switch test alone, and never cleared.
extern unsigned char quiet_notes;

[[nodiscard]] inline bool notes_are_on() {
  return (quiet_notes & 1U) == 0;
}

/// printf unless quiet.
void print_note(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
