// Files and directories that belong to this user alone. Some are in places where others can write,
// such as /tmp: a file that already has the right name is not to be trusted for that, and links
// there are not to be followed.
#pragma once

#include <string>

#include "host/file_descriptor.h"

namespace host {

/// Why the directory cannot be trusted: it is a link, belongs to another user, or others can write
/// to it. Empty when it can be trusted.
[[nodiscard]] std::string distrust_of_directory(const std::string& path);

/// The same for a socket to connect to. In the runtime directory it is trusted if the directory is;
/// a socket elsewhere is the user's own choice.
[[nodiscard]] std::string distrust_of_socket(const std::string& path);

/// Opens a lock file, creating it if it is missing. Refuses links, other users' files and files
/// with several names. Its mode is 0600 afterwards, regardless of the umask.
[[nodiscard]] opened_file open_lock(const std::string& path);

/// Creates a file for writing, with mode 0600 regardless of the umask. Fails if the name exists.
[[nodiscard]] opened_file make_new_file(const std::string& path);

/// Creates an empty file if it is missing, and refuses what `open_lock` refuses. Does not open the
/// file, because closing it would release the locks that the process holds on it. Only for
/// directories of this user alone. Returns an empty text, or what is wrong.
[[nodiscard]] std::string make_private_file(const std::string& path);

}  // namespace host
