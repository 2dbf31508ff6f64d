// Standard input, output and error that the caller of a program closed.
#pragma once

namespace host {

/// To be called before anything is opened: whichever of descriptors 0, 1 and 2 is closed gets a
/// place holder, so that no file or socket takes its number. Using it still fails with EBADF.
void keep_standard_descriptors();

}  // namespace host
