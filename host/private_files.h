// Files and directories that are this user's alone. Some of them live where others can write, as
// /tmp: whoever was there first must not be trusted for the name, nor be led elsewhere by a link.
#pragma once

#include <string>

#include "host/file_descriptor.h"

namespace host {

/// Why the directory is not this user's alone: it is a link, belongs to
/// another user, or others can write to it. Empty when nothing speaks against it.
[[nodiscard]] std::string distrust_of_directory(const std::string& path);

/// The same of a socket to connect to: one in the runtime directory is trusted as the directory is.
/// One that the user put elsewhere is the user's choice.
[[nodiscard]] std::string distrust_of_socket(const std::string& path);

/// Opens a lock, made where it is missing. A link, another user's file and one with several names
/// are refused. Its mode is 0600 afterwards, whatever the umask.
[[nodiscard]] opened_file open_lock(const std::string& path);

/// A new file to write to, mode 0600 whatever the umask. What has the name already is refused.
[[nodiscard]] opened_file make_new_file(const std::string& path);

/// Makes an empty file where there is none, and refuses what `open_lock` refuses. Opens nothing, as
/// to close a file would end the locks that the process holds on it. Only for a directory that is
/// this user's alone. Empty, or what is wrong.
[[nodiscard]] std::string make_private_file(const std::string& path);

}  // namespace host
