// Protects a program whose caller closed some of the descriptors 0, 1 and 2.
#pragma once

namespace host {

/// To be called before anything is opened: otherwise the next file would become a standard stream,
/// and messages would be written into it. Using the closed streams still fails.
void fill_standard_descriptors();

}  // namespace host
