#include "qcril-common/utilities/quiet_notes.h"

#include <cstdarg>
#include <cstdio>

unsigned char quiet_notes = 0;

void print_note(const char* fmt, ...) {
  if (!notes_are_on()) return;
  va_list args;
  va_start(args, fmt);
  std::vprintf(fmt, args);
  va_end(args);
}
