// Files that others have put where ours belong; streams whose far end does not do its part.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "host/directories.h"
#include "host/private_files.h"
#include "host/write_all.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

constexpr const char* trusted = "";

mode_t mode_of(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

void make_directory(const std::string& path, mode_t mode) {
  std::filesystem::create_directory(path);
  ::chmod(path.c_str(), mode);
}

void make_file(const std::string& path) {
  std::ofstream(path) << "there";
  ::chmod(path.c_str(), 0666);
}

void expect_reason(const std::string& got, const std::string& part) {
  EXPECT_PRED2(contains, got, part);
  EXPECT_EQ(got.empty(), part.empty()) << got;
}

TEST(host_files, what_others_put_there_is_not_used) {
  const struct {
    const char* what;
    void (*make)(const std::string& place);
    const char* directory;  ///< why it is not trusted as a directory
    const char* file;       ///< or as a file
  } rows[] = {
      {"nothing", [](const auto&) {}, "No such file", trusted},
      {"directory", [](const auto& place) { make_directory(place, 0755); }, trusted, "a"},
      {"directory of a group", [](const auto& place) { make_directory(place, 0775); },
       "other users can write to it (mode 0775)", "a"},
      {"directory of all others", [](const auto& place) { make_directory(place, 0757); },
       "other users can write to it (mode 0757)", "a"},
      {"link to nothing",
       [](const auto& place) { std::filesystem::create_symlink(place + ".led", place); },
       "symbolic link", "symbolic link"},
      {"file", make_file, "not a directory", trusted},
      {"their file",
       [](const auto& place) {
         make_file(place);
         ASSERT_EQ(::chown(place.c_str(), 65534, 65534), 0);
       },
       "not a directory", "belongs to user 65534"},
      {"file under two names",
       [](const auto& place) {
         make_file(place + ".first");
         std::filesystem::create_hard_link(place + ".first", place);
       },
       "not a directory", "other names"},
      {"FIFO", [](const auto& place) { ASSERT_EQ(::mkfifo(place.c_str(), 0600), 0); },
       "not a directory", "not a regular file"},
  };
  for (const auto& each : rows) {
    if (std::string(each.what) == "their file" && ::geteuid() != 0) continue;
    SCOPED_TRACE(each.what);
    for (const bool is_lock : {true, false}) {
      const temp_dir dir;
      const std::string place = dir.file("place");
      each.make(place);
      expect_reason(host::distrust_of_directory(place), each.directory);
      const mode_t before = mode_of(place);
      const auto wrong = is_lock ? host::open_lock(place).error : host::make_private_file(place);
      expect_reason(wrong, each.file);
      EXPECT_EQ(mode_of(place), wrong.empty() ? 0600 : before);
      EXPECT_FALSE(std::filesystem::exists(place + ".led"));
      if (before != 0) expect_reason(host::make_new_file(place).error, "File exists");
    }
  }
}

TEST(host_streams, all_is_sent_or_the_failure_is_seen) {
  enum far_end { reads, waits, closes };
  constexpr std::size_t most = std::size_t{1} << 22;  // more than a socket holds
  std::vector<std::uint8_t> sent(most);
  for (std::size_t i = 0; i < most; ++i) sent[i] = static_cast<std::uint8_t>(i % 251);
  for (const auto what : {reads, waits, closes}) {
    SCOPED_TRACE(what);
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
    const host::file_descriptor near(ends[0]);
    host::file_descriptor far(ends[1]);
    ASSERT_EQ(::fcntl(far.get(), F_SETFL, 0), 0);
    std::vector<std::uint8_t> got(most);
    if (what == closes) far = {};
    std::thread reader([&] {
      if (what == reads) ::recv(far.get(), got.data(), most, MSG_WAITALL);
    });
    const auto patience = std::chrono::milliseconds(what == waits ? 20 : 60000);
    EXPECT_EQ(host::send_all(near.get(), sent, patience), what == reads);
    reader.join();
    EXPECT_EQ(got == sent, what == reads);
  }
}

}  // namespace
