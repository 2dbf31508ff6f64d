#include "support/process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <string_view>

// What runs the programs of a cross build; empty when they are this machine's own.
#ifndef TVK_EMULATOR
#define TVK_EMULATOR ""
#define TVK_BUILD_FOLDER ""
#endif

namespace support {
namespace {

std::vector<std::string> environment_with(const environment& additions) {
  std::vector<std::string> all;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view text = *entry;
    const auto name = text.substr(0, text.find('='));
    if (name.starts_with("TVK_") || additions.contains(std::string(name))) continue;
    all.emplace_back(text);
  }
  for (const auto& [name, value] : additions) all.push_back(name + "=" + value);
  return all;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> out;
  for (auto& text : texts) out.push_back(text.data());
  out.push_back(nullptr);
  return out;
}

}  // namespace

background_process::background_process(const std::string& program,
                                       const std::vector<std::string>& arguments,
                                       const environment& additions) {
  std::vector<std::string> words;
  // Other builds' programs are of this machine, as sh is.
  if (*TVK_EMULATOR != '\0' && program.starts_with(TVK_BUILD_FOLDER)) {
    words.emplace_back(TVK_EMULATOR);
  }
  words.push_back(program);
  words.insert(words.end(), arguments.begin(), arguments.end());
  auto variables = environment_with(additions);
  const auto argv = pointers(words);
  const auto envp = pointers(variables);
  int output[2];
  int errors[2];
  if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe2");
  }
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("fork");
  if (pid_ == 0) {
    const rlimit no_core{0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    signal(SIGHUP, SIG_DFL);  // the tests may be run with nohup
    const int null = open("/dev/null", O_RDONLY);
    dup2(null, STDIN_FILENO);
    dup2(output[1], STDOUT_FILENO);
    dup2(errors[1], STDERR_FILENO);
    execvpe(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  close(output[1]);
  close(errors[1]);
  collectors_[0] = std::thread([=, this] { collect(output[0], result_.output); });
  collectors_[1] = std::thread([=, this] { collect(errors[0], result_.errors); });
}

background_process::~background_process() {
  if (!collectors_[0].joinable()) return;
  send_signal(SIGKILL);
  wait();
}

void background_process::collect(int stream, std::string& text) {
  std::array<char, 4096> buffer{};
  for (ssize_t count = 1; count > 0;) {
    count = read(stream, buffer.data(), buffer.size());
    const std::lock_guard lock(mutex_);
    if (count > 0) text.append(buffer.data(), static_cast<std::size_t>(count));
    if (count <= 0) --open_streams_;
    changed_.notify_all();
  }
  close(stream);
}

bool background_process::wait_for_text(const std::string& where, const std::string& text) {
  std::unique_lock lock(mutex_);
  const auto found = [&] { return where.find(text) != std::string::npos; };
  changed_.wait_for(lock, std::chrono::seconds(30), [&] { return open_streams_ == 0 || found(); });
  return found();
}

void background_process::send_signal(int number, int value) const {
  sigqueue(pid_, number, {.sival_int = value});
}

bool background_process::comes_to_rest(std::chrono::milliseconds window) const {
  clockid_t clock{};
  if (clock_getcpuclockid(pid_, &clock) != 0) return false;
  const auto used = [clock] {
    timespec time{};
    clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
  };
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  do {
    const auto before = used();
    std::this_thread::sleep_for(window);
    if (used() - before < window / 100) return true;
  } while (std::chrono::steady_clock::now() < limit);
  return false;
}

process_result background_process::wait(std::chrono::milliseconds limit) {
  {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, limit, [&] { return open_streams_ == 0; })) {
      result_.timed_out = true;
      send_signal(SIGKILL);
    }
  }
  for (auto& each : collectors_) each.join();
  int status = 0;
  rusage used{};
  wait4(pid_, &status, 0, &used);
  result_.peak_memory = used.ru_maxrss;
  if (WIFEXITED(status)) result_.exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result_.signal = WTERMSIG(status);
  // The emulator reports a program that ended by a signal; the program itself did not say so.
  const auto remark = result_.errors.find("qemu: uncaught target signal");
  if (*TVK_EMULATOR != '\0' && remark != std::string::npos) {
    result_.errors.erase(remark, result_.errors.find('\n', remark) - remark + 1);
  }
  return result_;
}

}  // namespace support
