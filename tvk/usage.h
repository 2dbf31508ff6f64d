// The usage text.
#pragma once

/// Prints the banner, the section of the group (0: every section; a group without one: none), and
/// the footer.
void show_help(int group);
