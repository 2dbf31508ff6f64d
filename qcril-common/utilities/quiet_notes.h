// The quiet flag, and printing that obeys it.
#pragma once

/// Process-wide. Bit 0 suppresses note lines and progress output, but not the usage text and fatal
/// errors. Only the eSIM switch test sets it; nothing clears it.
extern unsigned char quiet_notes;

[[nodiscard]] inline bool notes_are_on() {
  return (quiet_notes & 1U) == 0;
}

/// Like printf, unless quiet.
void print_note(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
