// The file system of the first subscription, as 4B 13 reads and writes it.
#include <algorithm>
#include <cerrno>

#include "simulator/diag/command.h"
#include "simulator/standard_error.h"

namespace sim::diag {
namespace {

using protocol::append_le;

constexpr std::uint8_t efs = 0x13;
constexpr std::size_t header = 4;

// Errors that POSIX has no number for.
constexpr int bad_sequence = 0x40000002;
constexpr int directory_not_open = 0x40000003;

constexpr std::uint32_t access_mode = 03;
constexpr std::uint32_t create_flag = 0100;
constexpr std::uint32_t exclusive_flag = 0200;
constexpr std::uint32_t truncate_flag = 01000;

void append_word(packet& out, std::int64_t value) {
  append_le(out, static_cast<std::uint32_t>(value));
}

/// The text up to the zero byte, which must be there, and what follows it.
struct c_string {
  std::string text;
  byte_view rest;
};
std::optional<c_string> take_string(byte_view bytes) {
  const auto end = std::ranges::find(bytes, std::uint8_t{0});
  if (end == bytes.end()) return std::nullopt;
  return c_string{{bytes.begin(), end}, {std::next(end), bytes.end()}};
}
std::optional<std::string> take_path(byte_view bytes) {
  const auto text = take_string(bytes);
  return text ? std::optional(efs_tree::normal(text->text)) : std::nullopt;
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
  packet answer = asked.begin_answer();
  answer.insert(answer.end(), asked.bytes.begin() + header, asked.bytes.begin() + header + windows);
  for (int i = 0; i < 3; ++i) append_le(answer, version);
  append_le(answer, asked.at<std::uint32_t>(features_at));
  return answer;
}

constexpr std::uint32_t most_links = 8;
constexpr std::uint32_t most_directories = 32;

reply query(const request& asked) {
  packet answer = asked.begin_answer();
  for (const std::size_t each :
       {max_efs_path_size, max_efs_path_size, std::size_t{most_links}, max_efs_file_size,
        std::size_t{most_directories}, std::size_t{1}}) {
    append_word(answer, static_cast<std::int64_t>(each));
  }
  return answer;
}

/// Returns an error number, or 0 and sets the handle.
int open_path(const request& asked, const std::string& given, std::uint32_t flags,
              std::int64_t& handle) {
  efs_tree& tree = asked.state.tree;
  const auto path = tree.followed(given);
  if (!path) return ELOOP;
  const bool writable = (flags & access_mode) != 0;
  const auto found = tree.status(*path);
  if (found && (found->mode & efs_type_bits) == efs_directory) return EISDIR;
  if (found && (flags & create_flag) != 0 && (flags & exclusive_flag) != 0) return EEXIST;
  if (!found && (flags & create_flag) == 0) return ENOENT;
  const auto opened = asked.from.files.files.open({*path, writable});
  if (!opened) return EMFILE;
  if (!found || (writable && (flags & truncate_flag) != 0)) {
    if (const int error = tree.write(*path, {}); error != 0) {
      (void)asked.from.files.files.close(*opened);
      return error;
    }
  }
  handle = *opened;
  return 0;
}

reply open(const request& asked) {
  const auto path = take_path(asked.bytes.subspan(header + 8));
  if (!path) return refusal::bad_parameter;
  std::int64_t handle = -1;
  const int error =
      guarded([&] { return open_path(asked, *path, asked.at<std::uint32_t>(header), handle); });
  packet answer = asked.begin_answer();
  append_word(answer, handle);
  append_word(answer, error);
  return answer;
}

reply close(const request& asked) {
  packet answer = asked.begin_answer();
  append_word(answer, asked.from.files.files.close(asked.at<std::uint32_t>(header)) ? 0 : EBADF);
  return answer;
}

reply read(const request& asked) {
  constexpr std::size_t head = header + 16;
  const auto handle = asked.at<std::uint32_t>(header);
  const auto count = asked.at<std::uint32_t>(header + 4);
  const auto offset = asked.at<std::uint32_t>(header + 8);
  std::vector<std::uint8_t> data;
  const int error = guarded([&] {
    const open_file* const file = asked.from.files.files.find(handle);
    if (file == nullptr) return EBADF;
    const auto whole = asked.state.tree.read(file->path);
    if (!whole) return ENOENT;
    const byte_view rest = byte_view(*whole).subspan(std::min<std::size_t>(offset, whole->size()));
    const byte_view part = rest.first(std::min({rest.size(), std::size_t{count}, any_size - head}));
    data.assign(part.begin(), part.end());
    return 0;
  });
  packet answer = asked.begin_answer();
  append_le(answer, handle);
  append_le(answer, offset);
  append_word(answer, error == 0 ? static_cast<std::int64_t>(data.size()) : -1);
  append_word(answer, error);
  answer.insert(answer.end(), data.begin(), data.end());
  return answer;
}

reply write(const request& asked) {
  const auto handle = asked.at<std::uint32_t>(header);
  const auto offset = asked.at<std::uint32_t>(header + 4);
  const byte_view data = asked.bytes.subspan(header + 8);
  const int error = guarded([&] {
    const open_file* const file = asked.from.files.files.find(handle);
    if (file == nullptr || !file->writable) return EBADF;
    auto whole = asked.state.tree.read(file->path);
    if (!whole) return ENOENT;
    if (offset > max_efs_file_size || offset + data.size() > max_efs_file_size) return EFBIG;
    if (whole->size() < offset + data.size()) whole->resize(offset + data.size());
    std::ranges::copy(data, whole->begin() + offset);
    return asked.state.tree.write(file->path, *whole);
  });
  packet answer = asked.begin_answer();
  append_le(answer, handle);
  append_le(answer, offset);
  append_word(answer, error == 0 ? static_cast<std::int64_t>(data.size()) : -1);
  append_word(answer, error);
  return answer;
}

/// Path after `head` bytes, error in the answer.
template <int (*act)(const request&, const std::string&), std::size_t head>
reply on_path(const request& asked) {
  const auto path = take_path(asked.bytes.subspan(head));
  if (!path) return refusal::bad_parameter;
  packet answer = asked.begin_answer();
  append_word(answer, guarded([&] { return act(asked, *path); }));
  return answer;
}

int unlink(const request& asked, const std::string& path) {
  return asked.state.tree.remove_file(path);
}
int mkdir(const request& asked, const std::string& path) {
  return asked.state.tree.make_directory(path, asked.at<std::uint16_t>(header));
}
int rmdir(const request& asked, const std::string& path) {
  return asked.state.tree.remove_directory(path);
}
int chmod(const request& asked, const std::string& path) {
  const auto target = asked.state.tree.followed(path);
  return target ? asked.state.tree.change_mode(*target, asked.at<std::uint16_t>(header)) : ELOOP;
}
int deltree(const request& asked, const std::string& path) {
  return asked.state.tree.remove_tree(path);
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

/// Two paths, error in the answer.
template <int (*act)(const request&, const std::string&, const std::string&)>
reply on_two_paths(const request& asked) {
  const auto first = take_string(asked.bytes.subspan(header));
  const auto second = first ? take_string(first->rest) : std::nullopt;
  if (!second) return refusal::bad_parameter;
  packet answer = asked.begin_answer();
  append_word(answer, guarded([&] { return act(asked, first->text, second->text); }));
  return answer;
}

int rename(const request& asked, const std::string& from, const std::string& to) {
  return asked.state.tree.rename(efs_tree::normal(from), efs_tree::normal(to));
}
int symlink(const request& asked, const std::string& target, const std::string& path) {
  return asked.state.tree.make_link(efs_tree::normal(path), target);
}

reply readlink(const request& asked) {
  const auto path = take_path(asked.bytes.subspan(header));
  if (!path) return refusal::bad_parameter;
  std::string target;
  const int error = guarded([&] {
    const auto found = asked.state.tree.link_target(*path);
    if (!found) return asked.state.tree.status(*path) ? EINVAL : ENOENT;
    target = *found;
    return 0;
  });
  packet answer = asked.begin_answer();
  append_word(answer, error);
  answer.insert(answer.end(), target.begin(), target.end());
  answer.push_back(0);
  return answer;
}

reply opendir(const request& asked) {
  const auto given = take_path(asked.bytes.subspan(header));
  if (!given) return refusal::bad_parameter;
  std::int64_t handle = 0;
  const int error = guarded([&] {
    const auto path = asked.state.tree.followed(*given);
    const auto found = path ? asked.state.tree.status(*path) : std::nullopt;
    if (!found) return ENOENT;
    if ((found->mode & efs_type_bits) != efs_directory) return ENOTDIR;
    const auto opened = asked.from.files.directories.open({*path, asked.state.tree.list(*path)});
    if (!opened) return EMFILE;
    handle = *opened;
    return 0;
  });
  packet answer = asked.begin_answer();
  append_word(answer, handle);
  append_word(answer, error);
  return answer;
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

reply readdir(const request& asked) {
  const auto handle = asked.at<std::uint32_t>(header);
  const auto sequence = asked.at<std::uint32_t>(header + 4);
  efs_status status;
  std::string name;
  const int error = guarded([&] {
    const open_directory* const directory = asked.from.files.directories.find(handle);
    if (directory == nullptr) return directory_not_open;
    if (sequence == 0) return bad_sequence;
    if (sequence > directory->names.size()) return 0;
    name = directory->names[sequence - 1];
    const std::string path = efs_tree::normal(directory->path + '/' + name);
    // It may have been removed since.
    status = asked.state.tree.status(path).value_or(efs_status{});
    return 0;
  });
  packet answer = asked.begin_answer();
  append_le(answer, handle);
  append_le(answer, sequence);
  append_word(answer, error);
  append_le(answer, entry_type(status.mode));
  append_le(answer, status.mode);
  append_le(answer, status.size);
  answer.resize(answer.size() + 3 * sizeof(std::uint32_t));  // times, which are not kept
  answer.insert(answer.end(), name.begin(), name.end());
  answer.push_back(0);
  return answer;
}

reply closedir(const request& asked) {
  const bool was_open = asked.from.files.directories.close(asked.at<std::uint32_t>(header));
  packet answer = asked.begin_answer();
  append_word(answer, was_open ? 0 : directory_not_open);
  return answer;
}

enum class follow : std::uint8_t { no, yes };

int find_status(const request& asked, const std::string& path, follow links, efs_status& found) {
  const auto target = links == follow::yes ? asked.state.tree.followed(path) : std::optional(path);
  if (!target) return ELOOP;
  const auto status = asked.state.tree.status(*target);
  if (!status) return ENOENT;
  found = *status;
  return 0;
}

/// error, mode, size, links, times: all of it on errors too
void append_status(packet& answer, int error, const efs_status& found) {
  append_word(answer, error);
  append_le(answer, found.mode);
  append_le(answer, found.size);
  append_word(answer, error == 0 ? 1 : 0);
  answer.resize(answer.size() + 3 * sizeof(std::uint32_t));
}

reply stat(const request& asked) {
  const auto path = take_path(asked.bytes.subspan(header));
  if (!path) return refusal::bad_parameter;
  efs_status found;
  const int error = guarded([&] { return find_status(asked, *path, follow::yes, found); });
  packet answer = asked.begin_answer();
  append_status(answer, error, found);
  return answer;
}

reply lstat(const request& asked) {
  const auto path = take_path(asked.bytes.subspan(header));
  if (!path) return refusal::bad_parameter;
  efs_status found;
  packet answer = asked.begin_answer();
  append_word(answer, guarded([&] { return find_status(asked, *path, follow::no, found); }));
  append_le(answer, found.mode);
  answer.resize(answer.size() + 3 * sizeof(std::uint32_t));
  return answer;
}

reply fstat(const request& asked) {
  efs_status found;
  const int error = guarded([&] {
    const open_file* const file = asked.from.files.files.find(asked.at<std::uint32_t>(header));
    return file == nullptr ? EBADF : find_status(asked, file->path, follow::no, found);
  });
  packet answer = asked.begin_answer();
  append_status(answer, error, found);
  return answer;
}

// The flash that the file system reports.
constexpr std::uint32_t page_size = 2048;
constexpr std::uint32_t pages_per_block = 64;
constexpr std::uint32_t blocks = 128;

reply statfs(const request& asked) {
  constexpr char type[] = "EFS2    ";
  constexpr std::uint32_t most_files = 1024;
  constexpr std::uint32_t free_blocks = blocks / 2;
  std::uint32_t files = 0;
  packet answer = asked.begin_answer();
  append_word(answer, guarded([&] {
                files = asked.state.tree.files();
                return 0;
              }));
  append_word(answer, 1);
  answer.insert(answer.end(), type, type + 8);
  for (const std::uint32_t each : {page_size * pages_per_block, blocks, free_blocks, free_blocks,
                                   std::uint32_t{max_efs_file_size}, files, most_files}) {
    append_le(answer, each);
  }
  return answer;
}

reply device_info(const request& asked) {
  constexpr std::string_view name = "TVK NAND";
  constexpr std::uint32_t spare = 64;
  packet answer = asked.begin_answer();
  for (const std::uint32_t each : {std::uint32_t{0}, blocks, pages_per_block, page_size,
                                   page_size + spare, std::uint32_t{0}, std::uint32_t{0}}) {
    append_le(answer, each);
  }
  answer.push_back(0);
  answer.insert(answer.end(), name.begin(), name.end());
  answer.push_back(0);
  return answer;
}

/// Every change is on its way to the disk when its answer is sent.
reply sync(const request& asked) {
  packet answer = asked.begin_answer();
  append_word(answer, 1);
  append_word(answer, 0);
  return answer;
}

reply sync_status(const request& asked) {
  packet answer = asked.begin_answer();
  answer.push_back(1);
  append_word(answer, 0);
  return answer;
}

constexpr std::size_t sequenced = header + 2;  // the answer repeats a sequence number

constexpr command_row rows[] = {
    {subsystem(efs, 0), "EFS hello", 44, 44, header, hello},
    {subsystem(efs, 1), "EFS query", header, header, header, query},
    {subsystem(efs, 2), "EFS open", 13, any_size, header, open},
    {subsystem(efs, 3), "EFS close", 8, 8, header, close},
    {subsystem(efs, 4), "EFS read", 16, 16, header, read},
    {subsystem(efs, 5), "EFS write", 12, any_size, header, write},
    {subsystem(efs, 6), "EFS symlink", 6, any_size, header, on_two_paths<symlink>},
    {subsystem(efs, 7), "EFS readlink", 5, any_size, header, readlink},
    {subsystem(efs, 8), "EFS unlink", 5, any_size, header, on_path<unlink, header>},
    {subsystem(efs, 9), "EFS mkdir", 7, any_size, header, on_path<mkdir, header + 2>},
    {subsystem(efs, 10), "EFS rmdir", 5, any_size, header, on_path<rmdir, header>},
    {subsystem(efs, 11), "EFS opendir", 5, any_size, header, opendir},
    {subsystem(efs, 12), "EFS readdir", 12, 12, header, readdir},
    {subsystem(efs, 13), "EFS closedir", 8, 8, header, closedir},
    {subsystem(efs, 14), "EFS rename", 6, any_size, header, on_two_paths<rename>},
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
