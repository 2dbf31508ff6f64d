// The file of the system properties, and processes that write it at the same time.
#include "platform/properties.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/temp_dir.h"
#include "support/test.h"

namespace {

using namespace support;

std::string get(const std::string& name, const char* default_value = "unset") {
  std::array<char, PROPERTY_VALUE_MAX + 8> value{};
  value.fill('#');
  const int length = property_get(name.c_str(), value.data(), default_value);
  for (std::size_t i = PROPERTY_VALUE_MAX; i < value.size(); ++i) EXPECT_EQ(value.at(i), '#');
  EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(value.data()));
  return value.data();
}

int set(const std::string& name, const std::string& value) {
  return property_set(name.c_str(), value.c_str());
}

class properties : public testing::Test {
 protected:
  properties() { setenv("TVK_PROPERTIES", path().c_str(), 1); }

  [[nodiscard]] std::string path() const { return dir_.file("properties"); }
  void put(const std::string& text) const { std::ofstream(path()) << text; }
  [[nodiscard]] std::string text() const {
    std::ifstream in(path());
    return {std::istreambuf_iterator<char>(in), {}};
  }

  temp_dir dir_;
};

/// A process that runs `work` and ends with 0, or 1 when `work` returns false.
template <typename Work>
pid_t process(Work work) {
  const pid_t pid = fork();
  if (pid == 0) _exit(work() ? 0 : 1);
  return pid;
}

TEST_F(properties, lines_of_others_stay_blanks_do_not_count_and_a_malformed_line_is_named) {
  EXPECT_EQ(get("a", nullptr), "");
  EXPECT_FALSE(std::filesystem::exists(path()));
  put("# by=hand\n\r\na=1\r\nno equals sign here\n b = 2 \r\n\tc.d=\t3 =and 4");
  testing::internal::CaptureStderr();
  EXPECT_EQ(get("a"), "1");
  EXPECT_EQ(get("b"), "2");
  EXPECT_EQ(get("c"), "unset");
  EXPECT_EQ(get("c.d"), "3 =and 4");
  EXPECT_EQ(get("# by"), "unset");
  EXPECT_EQ(set("b", "6"), 0);
  EXPECT_EQ(set("d", "7"), 0);
  EXPECT_EQ(text(), "# by=hand\n\r\na=1\r\nno equals sign here\n\tc.d=\t3 =and 4\nb=6\nd=7\n");
  const auto errors = testing::internal::GetCapturedStderr();
  EXPECT_PRED2(contains, errors, "no equals sign here");
  EXPECT_PRED2(contains, errors, path());
}

TEST_F(properties, name_or_value_that_would_break_a_line_or_has_more_than_91_bytes_is_refused) {
  const std::string longest(91, 'v');
  EXPECT_EQ(set("persist.x", longest), 0);
  EXPECT_EQ(get("persist.x"), longest);
  for (const char* name : {"", "a=b", "=", "a\nb", "#a"}) EXPECT_LT(set(name, "2"), 0) << name;
  const std::string values[] = {longest + "v", "1\npersist.y=7", " 7", "7\t", "7\r", " "};
  for (const auto& value : values) EXPECT_LT(set("persist.x", value), 0) << value;
  EXPECT_EQ(text(), "persist.x=" + longest + "\n");
  // A longer one that is in the file already is cut to fit, and so is a default.
  put("persist.y=" + longest + "vvvvvvvv\npersist.z=1\n");
  EXPECT_LE(get("persist.y").size(), 91U);
  EXPECT_LE(get("persist.none", (longest + "vvv").c_str()).size(), 91U);
}

TEST_F(properties, link_owner_and_mode_are_kept_and_no_other_link_is_followed) {
  const std::string real = dir_.file("real");
  std::ofstream(real) << "a=1\n";
  chmod(real.c_str(), 0640);
  if (geteuid() == 0) {
    ASSERT_EQ(chown(real.c_str(), 65534, 65534), 0);
  }
  std::filesystem::create_symlink("real", path());
  std::ofstream(dir_.file("others")) << "stays";
  std::filesystem::create_symlink("others", real + ".new");
  EXPECT_EQ(set("a", "2"), 0);
  EXPECT_EQ(get("a"), "2");
  EXPECT_TRUE(std::filesystem::is_symlink(path()));
  struct stat status {};
  ASSERT_EQ(lstat(real.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, S_IFREG | 0640U);
  EXPECT_EQ(status.st_uid, geteuid() == 0 ? 65534 : geteuid());
  EXPECT_EQ(std::filesystem::file_size(dir_.file("others")), 5U);

  EXPECT_EQ(set("fresh", "1"), 0);
  std::filesystem::remove(real);
  std::filesystem::remove(real + ".lock");
  const mode_t before = umask(0);
  EXPECT_EQ(set("fresh", "1"), 0);
  umask(before);
  for (const std::string& made : {real, real + ".lock"}) {
    ASSERT_EQ(lstat(made.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0600U) << made;
  }
}

TEST_F(properties, file_that_cannot_be_used_is_named_and_gives_defaults) {
  const auto file = [this](const char* name) { return dir_.file(name); };
  std::ofstream(file("plain")) << "persist.x=from the wrong file\n";
  std::filesystem::create_directory(file("directory"));
  std::ofstream(file("large")) << "persist.x=1\n" << std::string(1 << 20, '\n');
  std::filesystem::create_symlink("circle", file("circle"));
  mkfifo(file("fifo").c_str(), 0600);
  std::vector<std::pair<std::string, std::string>> rows = {
      {file("plain") + "/properties", "Not a directory"},
      {file("directory"), "it is not a regular file"},
      {"/dev/full", "property file /dev/full: it is not a regular file"},
      {file("fifo"), "it is not a regular file"},
      {file("large"), "it has more than 1048576 bytes"},
      {file("circle"), "too many symbolic links"},
      {"", "neither XDG_STATE_HOME nor HOME is set"},
  };
  if (geteuid() == 0) {
    std::filesystem::create_symlink("plain", file("theirs"));
    ASSERT_EQ(lchown(file("theirs").c_str(), 65534, 65534), 0);
    rows.emplace_back(file("theirs"), "it is a symbolic link of user 65534");
  }
  for (const auto& [path, said] : rows) {
    SCOPED_TRACE(path + ": " + said);
    setenv("TVK_PROPERTIES", path.c_str(), 1);
    unsetenv("HOME");
    unsetenv("XDG_STATE_HOME");
    testing::internal::CaptureStderr();
    EXPECT_LT(set("persist.x", "1"), 0);
    EXPECT_EQ(get("persist.x"), "unset");
    const auto errors = testing::internal::GetCapturedStderr();
    EXPECT_PRED2(contains, errors, said);
    EXPECT_PRED2(contains, errors, path);
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
  }
  EXPECT_FALSE(std::filesystem::exists("/dev/full.lock"));
}

TEST_F(properties, two_processes_lose_nothing_and_a_reader_sees_whole_values) {
  constexpr int each = 200;
  const std::string values[] = {"s", std::string(91, 'L')};
  ASSERT_EQ(set("shared", values[0]), 0);
  for (const auto& value : values) {
    process([&value] {
      bool good = true;
      for (int i = 0; i < each; ++i) {
        good = set(value[0] + std::to_string(i), "value") == 0 && set("shared", value) == 0 && good;
      }
      return good;
    });
  }
  for (int running = 2; running > 0;) {
    const auto seen = get("shared");
    ASSERT_TRUE(seen == values[0] || seen == values[1]) << seen;
    int status = 0;
    if (waitpid(-1, &status, WNOHANG) <= 0) continue;
    --running;
    EXPECT_EQ(status, 0);
  }
  for (int i = 0; i < each; ++i) {
    for (const std::string prefix : {"s", "L"}) EXPECT_EQ(get(prefix + std::to_string(i)), "value");
  }
  EXPECT_EQ(std::ranges::count(text(), '\n'), 2 * each + 1);
}

TEST_F(properties, killed_writers_leave_a_readable_file_that_can_be_written) {
  const std::string value(80, 'k');
  for (int i = 0; i < 20; ++i) ASSERT_EQ(set("steady." + std::to_string(i), value), 0);
  int progress[2];
  ASSERT_EQ(pipe(progress), 0);
  for (int round = 0; round < 25; ++round) {
    const pid_t pid = process([&] {
      for (int i = 0; write(progress[1], "", 1) == 1; ++i) {
        set("moving." + std::to_string(i % 20), value);
      }
      return false;
    });
    // Killed early and late in one of its writes.
    char begun = 0;
    for (int writes = 0; writes <= round % 5; ++writes) ASSERT_EQ(read(progress[0], &begun, 1), 1);
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    for (int i = 0; i < 20; ++i) {
      const auto number = std::to_string(i);
      ASSERT_EQ(get("steady." + number), value) << "round " << round;
      const auto moving = get("moving." + number);
      ASSERT_TRUE(moving == value || moving == "unset") << moving;
    }
    ASSERT_EQ(set("round", std::to_string(round)), 0);
    ASSERT_EQ(get("round"), std::to_string(round));
  }
  EXPECT_LE(std::ranges::count(text(), '\n'), 41);
  // A writer that was killed may leave its own unfinished file, not one each.
  const std::filesystem::directory_iterator files(dir_.path());
  EXPECT_LE(std::distance(begin(files), end(files)), 4);
}

}  // namespace
