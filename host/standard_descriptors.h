// The descriptors 0, 1 and 2 of a program whose caller closed some of them.
#pragma once

namespace host {

/// To be called before anything is opened: what is opened later does not become a standard stream,
/// into which a message would then be written. Reading and writing the streams that were closed
/// still fails.
void fill_standard_descriptors();

}  // namespace host
