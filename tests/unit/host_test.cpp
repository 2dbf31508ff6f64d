// Files that others have put where ours belong; streams whose far end does not do its part.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>
#include <tuple>

#include "host/directories.h"
#include "host/private_files.h"
#include "host/write_all.h"
#include "support/process.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

constexpr const char* trusted = "";

mode_t mode_of(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

void expect_reason(const std::string& got, const std::string& part) {
  EXPECT_PRED2(contains, got, part);
  EXPECT_EQ(got.empty(), part.empty()) << got;
}

TEST(host_files, what_others_put_there_is_not_used) {
  // What makes the place, why it is not trusted as a directory, and why as a file.
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"true", "No such file", trusted},
      {"mkdir -m 755 place", trusted, "a"},
      {"mkdir -m 775 place", "other users can write to it (mode 0775)", "a"},
      {"mkdir -m 757 place", "other users can write to it (mode 0757)", "a"},
      {"ln -s nothing place", "symbolic link", "symbolic link"},
      {"touch place; chmod 666 place", "not a directory", trusted},
      {"touch place; chown 65534:65534 place", "not a directory", "belongs to user 65534"},
      {"touch first; ln first place", "not a directory", "other names"},
      {"mkfifo -m 600 place", "not a directory", "not a regular file"},
  };
  for (const auto& [command, directory, file] : rows) {
    if (contains(command, "chown") && ::geteuid() != 0) continue;
    SCOPED_TRACE(command);
    for (const bool is_lock : {true, false}) {
      const temp_dir dir;
      ASSERT_EQ(run("sh", {"-c", "cd " + dir.path() + "; " + command}).exit_status, 0);
      const std::string place = dir.file("place");
      expect_reason(host::distrust_of_directory(place), directory);
      const mode_t before = mode_of(place);
      const auto wrong = is_lock ? host::open_lock(place).error : host::make_private_file(place);
      expect_reason(wrong, file);
      EXPECT_EQ(mode_of(place), wrong.empty() ? 0600 : before);
      EXPECT_FALSE(std::filesystem::exists(dir.file("nothing")));
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
