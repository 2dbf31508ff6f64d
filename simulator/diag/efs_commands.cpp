// The file system of the first subscription, as 4B 13 reads and writes it.
#include <algorithm>
#include <cerrno>

#include "simulator/diag/command.h"
#include "simulator/standard_error.h"

namespace sim::diag {
namespace {

constexpr std::uint8_t efs = 0x13;
constexpr std::size_t header = 4;

// Errors that POSIX has no number for.
constexpr int bad_sequence = 0x40000002;
constexpr int directory_not_open = 0x40000003;

/// The texts of a request, each up to a zero byte, which must be there.
class text_reader {
 public:
  text_reader(const request& asked, std::size_t at) : rest_(asked.bytes.subspan(at)) {}

  std::string text() {
    const auto end = std::ranges::find(rest_, std::uint8_t{0});
    if (end == rest_.end()) throw refused{refusal::bad_parameter};
    std::string taken(rest_.begin(), end);
    rest_ = {std::next(end), rest_.end()};
    return taken;
  }
  std::string path() { return efs_tree::normal(text()); }

 private:
  byte_view rest_;
};

std::string path_of(const request& asked, std::size_t at = header) {
  return text_reader(asked, at).path();
}

std::uint32_t handle_of(const request& asked) {
  return asked.at<std::uint32_t>(header);
}

/// A state that cannot be read or written is an input/output error of the call.
template <typename Action>
int guarded(Action action) {
  try {
    return action();
  } catch (const failure& state_failed) {
    tell_user(state_failed.what());
    return EIO;
  }
}

reply hello(const request& asked) {
  constexpr std::size_t windows = 24;
  constexpr std::uint32_t version = 1;
  constexpr std::size_t features_at = header + windows + 3 * sizeof(version);
  return byte_string()
      .bytes(asked.bytes.subspan(header, windows))
      .u32(version, version, version)
      .u32(asked.at<std::uint32_t>(features_at));
}

reply query(const request& /*asked*/) {
  constexpr std::uint32_t most_links = 8;
  constexpr std::uint32_t most_directories = 32;
  return byte_string()
      .u32(max_efs_path_size, max_efs_path_size, most_links)
      .u32(max_efs_file_size, most_directories, 1);
}

/// Returns an error number, or 0 and sets the handle.
int open_path(const request& asked, const std::string& given, std::int64_t& handle) {
  constexpr std::uint32_t access_mode = 03;
  constexpr std::uint32_t create_flag = 0100;
  constexpr std::uint32_t exclusive_flag = 0200;
  constexpr std::uint32_t truncate_flag = 01000;
  const auto flags = asked.at<std::uint32_t>(header);
  efs_tree& tree = asked.state.tree;
  auto& files = asked.from.files.files;
  const auto path = tree.followed(given);
  if (!path) return ELOOP;
  const bool writable = (flags & access_mode) != 0;
  const auto found = tree.status(*path);
  if (found && (found->mode & efs_type_bits) == efs_directory) return EISDIR;
  if (found && (flags & create_flag) != 0 && (flags & exclusive_flag) != 0) return EEXIST;
  if (!found && (flags & create_flag) == 0) return ENOENT;
  const auto opened = files.open({*path, writable});
  if (!opened) return EMFILE;
  if (!found || (writable && (flags & truncate_flag) != 0)) {
    int error = tree.write(*path, {});
    if (error == 0 && !found) {
      error = tree.change_mode(*path, asked.at<std::uint32_t>(header + sizeof(flags)));
    }
    if (error != 0) {
      (void)files.close(*opened);
      return error;
    }
  }
  handle = *opened;
  return 0;
}

reply open(const request& asked) {
  const std::string path = path_of(asked, header + 8);
  std::int64_t handle = -1;
  const int error = guarded([&] { return open_path(asked, path, handle); });
  return byte_string().u32(handle, error);
}

reply close(const request& asked) {
  return byte_string().u32(asked.from.files.files.close(handle_of(asked)) ? 0 : EBADF);
}

/// handle, offset, bytes read or written, error
byte_string transfer(const request& asked, std::uint32_t offset, std::size_t size, int error) {
  const auto done = error == 0 ? static_cast<std::int64_t>(size) : -1;
  return byte_string().u32(handle_of(asked), offset, done, error);
}

reply read(const request& asked) {
  constexpr std::size_t head = header + 16;
  const std::size_t count = asked.at<std::uint32_t>(header + 4);
  const auto offset = asked.at<std::uint32_t>(header + 8);
  std::vector<std::uint8_t> data;
  const int error = guarded([&] {
    const open_file* const file = asked.from.files.files.find(handle_of(asked));
    if (file == nullptr) return EBADF;
    const auto whole = asked.state.tree.read(file->path);
    if (!whole) return ENOENT;
    const byte_view rest = byte_view(*whole).subspan(std::min<std::size_t>(offset, whole->size()));
    const byte_view part = rest.first(std::min({rest.size(), count, any_size - head}));
    data.assign(part.begin(), part.end());
    return 0;
  });
  return transfer(asked, offset, data.size(), error).bytes(data);
}

reply write(const request& asked) {
  const auto offset = asked.at<std::uint32_t>(header + 4);
  const byte_view data = asked.bytes.subspan(header + 8);
  const int error = guarded([&] {
    const open_file* const file = asked.from.files.files.find(handle_of(asked));
    if (file == nullptr || !file->writable) return EBADF;
    auto whole = asked.state.tree.read(file->path);
    if (!whole) return ENOENT;
    if (offset > max_efs_file_size || offset + data.size() > max_efs_file_size) return EFBIG;
    if (whole->size() < offset + data.size()) whole->resize(offset + data.size());
    std::ranges::copy(data, whole->begin() + offset);
    return asked.state.tree.write(file->path, *whole);
  });
  return transfer(asked, offset, data.size(), error);
}

/// Path after `head` bytes, error in the answer.
template <int (*act)(const request&, const std::string&), std::size_t head>
reply on_path(const request& asked) {
  const std::string path = path_of(asked, head);
  return byte_string().u32(guarded([&] { return act(asked, path); }));
}

/// What the tree does with a path alone.
template <int (efs_tree::*act)(const std::string&)>
int in_tree(const request& asked, const std::string& path) {
  return (asked.state.tree.*act)(path);
}
constexpr auto unlink = in_tree<&efs_tree::remove_file>;
constexpr auto rmdir = in_tree<&efs_tree::remove_directory>;
constexpr auto deltree = in_tree<&efs_tree::remove_tree>;
int mkdir(const request& asked, const std::string& path) {
  return asked.state.tree.make_directory(path, asked.at<std::uint16_t>(header));
}
int chmod(const request& asked, const std::string& path) {
  const auto target = asked.state.tree.followed(path);
  return target ? asked.state.tree.change_mode(*target, asked.at<std::uint16_t>(header)) : ELOOP;
}
int truncate(const request& asked, const std::string& path) {
  const auto length = asked.at<std::uint32_t>(header + 2);
  const auto target = asked.state.tree.followed(path);
  if (!target) return ELOOP;
  if (length > max_efs_file_size) return EFBIG;
  auto whole = asked.state.tree.read(*target);
  if (!whole) return ENOENT;
  whole->resize(length);
  return asked.state.tree.write(*target, *whole);
}
int access(const request& asked, const std::string& path) {
  const auto target = asked.state.tree.followed(path);
  return target && asked.state.tree.status(*target) ? 0 : ENOENT;
}

reply rename(const request& asked) {
  text_reader in(asked, header);
  const std::string from = in.path();
  const std::string to = in.path();
  return byte_string().u32(guarded([&] { return asked.state.tree.rename(from, to); }));
}

reply symlink(const request& asked) {
  text_reader in(asked, header);
  const std::string target = in.text();
  const std::string path = in.path();
  return byte_string().u32(guarded([&] { return asked.state.tree.make_link(path, target); }));
}

reply readlink(const request& asked) {
  const std::string path = path_of(asked);
  std::string target;
  const int error = guarded([&] {
    const auto found = asked.state.tree.link_target(path);
    if (!found) return asked.state.tree.status(path) ? EINVAL : ENOENT;
    target = *found;
    return 0;
  });
  return byte_string().u32(error).c_string(target);
}

reply opendir(const request& asked) {
  const std::string given = path_of(asked);
  std::uint32_t handle = 0;
  const int error = guarded([&] {
    const auto path = asked.state.tree.followed(given);
    const auto found = path ? asked.state.tree.status(*path) : std::nullopt;
    if (!found) return ENOENT;
    if ((found->mode & efs_type_bits) != efs_directory) return ENOTDIR;
    const auto opened = asked.from.files.directories.open({*path, asked.state.tree.list(*path)});
    if (!opened) return EMFILE;
    handle = *opened;
    return 0;
  });
  return byte_string().u32(handle, error);
}

std::uint32_t entry_type(std::uint32_t mode) {
  switch (mode & efs_type_bits) {
    case efs_directory:
      return 1;
    case efs_link:
      return 2;
    default:
      return 0;
  }
}

constexpr std::size_t times = 3 * sizeof(std::uint32_t);  // which are not kept

reply readdir(const request& asked) {
  const auto sequence = asked.at<std::uint32_t>(header + 4);
  efs_status status;
  std::string name;
  const int error = guarded([&] {
    const open_directory* const directory = asked.from.files.directories.find(handle_of(asked));
    if (directory == nullptr) return directory_not_open;
    if (sequence == 0) return bad_sequence;
    if (sequence > directory->names.size()) return 0;
    name = directory->names[sequence - 1];
    const std::string path = efs_tree::normal(directory->path + '/' + name);
    // It may have been removed since.
    status = asked.state.tree.status(path).value_or(efs_status{});
    return 0;
  });
  return byte_string()
      .u32(handle_of(asked), sequence, error)
      .u32(entry_type(status.mode), status.mode, status.size)
      .zeros(times)
      .c_string(name);
}

reply closedir(const request& asked) {
  const bool was_open = asked.from.files.directories.close(handle_of(asked));
  return byte_string().u32(was_open ? 0 : directory_not_open);
}

int find_status(const request& asked, const std::string& path, efs_status& found) {
  const auto status = asked.state.tree.status(path);
  if (!status) return ENOENT;
  found = *status;
  return 0;
}

/// error, mode, size, links, times: all of it on errors too
reply status_answer(int error, const efs_status& found) {
  const unsigned links = error == 0 ? 1 : 0;
  return byte_string().u32(error, found.mode, found.size, links).zeros(times);
}

reply stat(const request& asked) {
  const std::string path = path_of(asked);
  efs_status found;
  const int error = guarded([&] {
    const auto target = asked.state.tree.followed(path);
    return target ? find_status(asked, *target, found) : ELOOP;
  });
  return status_answer(error, found);
}

reply lstat(const request& asked) {
  const std::string path = path_of(asked);
  efs_status found;
  const int error = guarded([&] { return find_status(asked, path, found); });
  return byte_string().u32(error, found.mode).zeros(times);
}

reply fstat(const request& asked) {
  efs_status found;
  const int error = guarded([&] {
    const open_file* const file = asked.from.files.files.find(handle_of(asked));
    return file == nullptr ? EBADF : find_status(asked, file->path, found);
  });
  return status_answer(error, found);
}

// The flash that the file system reports.
constexpr std::uint32_t page_size = 2048;
constexpr std::uint32_t pages_per_block = 64;
constexpr std::uint32_t blocks = 128;

reply statfs(const request& asked) {
  constexpr std::uint32_t most_files = 1024;
  constexpr std::uint32_t free_blocks = blocks / 2;
  std::uint32_t files = 0;
  const int error = guarded([&] {
    files = asked.state.tree.files();
    return 0;
  });
  return byte_string()
      .u32(error, 1)
      .text("EFS2    ")
      .u32(page_size * pages_per_block, blocks, free_blocks, free_blocks)
      .u32(max_efs_file_size, files, most_files);
}

reply device_info(const request& /*asked*/) {
  constexpr std::uint32_t spare = 64;
  return byte_string()
      .u32(0, blocks, pages_per_block, page_size, page_size + spare, 0, 0)
      .u8(0)
      .c_string("TVK NAND");
}

/// Every change is on its way to the disk when its answer is sent.
reply sync(const request& /*asked*/) {
  return byte_string().u32(1, 0);
}

reply sync_status(const request& /*asked*/) {
  return byte_string().u8(1).u32(0);
}

constexpr std::size_t sequenced = header + 2;  // the answer repeats a sequence number

constexpr command_row rows[] = {
    {subsystem(efs, 0), "EFS hello", 44, 44, header, hello},
    {subsystem(efs, 1), "EFS query", header, header, header, query},
    {subsystem(efs, 2), "EFS open", 13, any_size, header, open},
    {subsystem(efs, 3), "EFS close", 8, 8, header, close},
    {subsystem(efs, 4), "EFS read", 16, 16, header, read},
    {subsystem(efs, 5), "EFS write", 12, any_size, header, write},
    {subsystem(efs, 6), "EFS symlink", 6, any_size, header, symlink},
    {subsystem(efs, 7), "EFS readlink", 5, any_size, header, readlink},
    {subsystem(efs, 8), "EFS unlink", 5, any_size, header, on_path<unlink, header>},
    {subsystem(efs, 9), "EFS mkdir", 7, any_size, header, on_path<mkdir, header + 2>},
    {subsystem(efs, 10), "EFS rmdir", 5, any_size, header, on_path<rmdir, header>},
    {subsystem(efs, 11), "EFS opendir", 5, any_size, header, opendir},
    {subsystem(efs, 12), "EFS readdir", 12, 12, header, readdir},
    {subsystem(efs, 13), "EFS closedir", 8, 8, header, closedir},
    {subsystem(efs, 14), "EFS rename", 6, any_size, header, rename},
    {subsystem(efs, 15), "EFS stat", 5, any_size, header, stat},
    {subsystem(efs, 16), "EFS lstat", 5, any_size, header, lstat},
    {subsystem(efs, 17), "EFS fstat", 8, 8, header, fstat},
    {subsystem(efs, 18), "EFS chmod", 7, any_size, header, on_path<chmod, header + 2>},
    {subsystem(efs, 19), "EFS statfs", 5, any_size, header, statfs},
    {subsystem(efs, 20), "EFS access", 6, any_size, header, on_path<access, header + 1>},
    {subsystem(efs, 21), "EFS device info", header, header, header, device_info},
    {subsystem(efs, 37), "EFS deltree", 7, any_size, sequenced, on_path<deltree, sequenced>},
    {subsystem(efs, 40), "EFS truncate", 11, any_size, sequenced, on_path<truncate, sequenced + 4>},
    {subsystem(efs, 48), "EFS sync", 7, any_size, sequenced, sync},
    {subsystem(efs, 49), "EFS sync status", 11, any_size, sequenced, sync_status},
};

}  // namespace

std::span<const command_row> efs_commands() {
  return rows;
}

}  // namespace sim::diag
