// What tvk-decode takes and what it leaves alone: packed captures and damage in them, memory,
// directories, and outputs that are inputs.
#include <sys/resource.h>

#include <algorithm>
#include <filesystem>

#include "support/decode_run.h"
#include "support/limits.h"
#include "support/packing.h"
#include "support/test.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TVK_OWN_MEMORY 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TVK_OWN_MEMORY 0
#endif
#endif
#ifndef TVK_OWN_MEMORY
#define TVK_OWN_MEMORY !TVK_CROSS_BUILD
#endif

namespace {

namespace fs = std::filesystem;
using namespace support;

/// A record that is told by its radio.
bytes frame(std::size_t number) {
  return diag_frame(
      hex("98010000") +
      bytes{static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8), 0, 0} +
      voice);
}

bytes frames(std::size_t first, std::size_t last) {
  bytes all;
  for (auto i = first; i <= last; ++i) {
    const auto one = frame(i);
    all.insert(all.end(), one.begin(), one.end());
  }
  return all;
}
std::string lines(std::size_t first, std::size_t last) {
  std::string all;
  for (auto i = first; i <= last; ++i) all += voice_line(i);
  return all;
}

bytes with_flipped(bytes content, std::size_t from_end) {
  content[content.size() - from_end] ^= 0x10;
  return content;
}

using tvk_decode_input = with_captures;

struct packing_case {
  const char* name;
  bytes (*pack)(const bytes& content);
};
constexpr packing_case packings[] = {{"gzip", gzip}, {"zstd", zstd}, {"bzip2", bzip2}, {"xz", xz}};

// More than the largest chunk, and several blocks of every packing.
constexpr std::size_t all = 6000;
constexpr std::size_t half = all / 2;

TEST_F(tvk_decode_input, of_packed_captures_gives_all_that_can_be_unpacked) {
  struct one {
    std::string what;
    bytes file;
    std::size_t least;  // lines from the first on
    std::string error;  // empty: undamaged
  };
  std::vector<one> cases;
  for (const auto& [name, pack] : packings) {
    const auto whole = pack(frames(1, all));
    const auto first = pack(frames(1, half));
    const auto second = pack(frames(half + 1, all));
    const auto cut = [&](std::size_t size) {
      return bytes(whole.begin(), whole.end() - long(size));
    };
    const auto add = [&, name = name](const char* what, const bytes& file, std::size_t least,
                                      const char* error) {
      cases.push_back({std::string(name) + ", " + what, file, least, error});
    };
    add("whole", whole, all, "");
    add("two members", first + second, all, "");
    add("padding", first + hex("00*512") + second + hex("00*4"), all, "");
    add("behind it other bytes", whole + hex("41*300"), all, "other data follows");
    add("a packed magic in other bytes", whole + hex("41*9") + slice(whole, 0, 9), all, ": ");
    add("in between other bytes", first + hex("41*70000") + second, all, "other data follows");
    add("wrong checksum", with_flipped(whole, 3), all, ": ");
    add("wrong checksum, then a good member", with_flipped(first, 3) + second, all, ": ");
    add("without its last byte", cut(1), all, "the file ends too early");
    add("a tenth cut off", cut(whole.size() / 10), all / 4, "the file ends too early");
  }
  const auto good = gzip(frames(1, all));
  cases.push_back({"gzip, wrong CRC", with_flipped(good, 8), all, "incorrect data check"});
  cases.push_back({"gzip, wrong length", with_flipped(good, 4), all, "incorrect length check"});
  cases.push_back({"zstd, a frame to skip first",
                   hex("5F2A4D18 04000000 41424344") + zstd(frames(1, all)), all, ""});
  // Window of 1 MiB, no size, no checksum; blocks as they are, then one of a kind that is none.
  bytes bad_block = hex("28B52FFD 00 50");
  for (std::size_t i = 1; i <= 9; ++i) {
    const auto one_frame = frame(i);
    bad_block = bad_block +
                bytes{static_cast<std::uint8_t>(one_frame.size() << 3),
                      static_cast<std::uint8_t>(one_frame.size() >> 5), 0} +
                one_frame;
  }
  cases.push_back({"zstd, a bad block behind good ones", bad_block + hex("060000 41*99"), 9, ": "});

  for (const auto& [what, content, least, error] : cases) {
    const auto path = made("packed", content);
    std::string alone;
    for (const char* threads : {"1", "8"}) {
      const auto got = decode({"-f", "jsonl", "--summary", "-j", threads, path});
      const auto count = static_cast<std::size_t>(std::ranges::count(got.output, '\n'));
      EXPECT_GE(count, least) << what;
      EXPECT_TRUE(got.output == lines(1, count)) << what;
      if (alone.empty()) alone = got.output;
      EXPECT_TRUE(got.output == alone) << what << " with " << threads;
      EXPECT_EQ(got.exit_status, error.empty() ? 0 : 1) << what;
      EXPECT_EQ(got.errors.starts_with("tvk-decode: " + path + ": "), !error.empty()) << what;
      EXPECT_PRED2(contains, got.errors, error) << what;
      EXPECT_PRED2(contains, got.errors,
                   "\ndamaged files            " + std::string(error.empty() ? "0" : "1") + "\n")
          << what;
    }
  }
}

/// Event reports whose every other event of five bytes becomes two records.
bytes dense_events() {
  bytes body = hex("4626 BE0C0A9E34DDD400 02");
  for (int i = 0; i < 800; ++i) body = body + hex(i % 2 == 0 ? "46A6 0C0A 04" : "46A6 0C0A 02");
  const auto report = diag_frame(bytes{0x60, static_cast<std::uint8_t>(body.size()),
                                       static_cast<std::uint8_t>(body.size() >> 8)} +
                                 body);
  bytes many;
  while (many.size() < 2'000'000) many.insert(many.end(), report.begin(), report.end());
  return many;
}

/// A frame of zstd with a window of 1 << `window_log`: frames, then 150 MB of ones.
bytes zstd_with_window(unsigned window_log) {
  const auto content = frames(1, 9);
  bytes made = hex("28B52FFD 00") + bytes{static_cast<std::uint8_t>((window_log - 10) << 3)} +
               bytes{static_cast<std::uint8_t>(content.size() << 3),
                     static_cast<std::uint8_t>(content.size() >> 5), 0} +
               content;
  for (int i = 0; i < 1150; ++i) made = made + hex("020010 01");  // a byte, 128 KiB times
  return made + hex("030000 01");
}

TEST_F(tvk_decode_input, takes_bounded_memory) {
  if (!TVK_OWN_MEMORY) GTEST_SKIP() << "sanitizers and emulators take memory of their own";
  constexpr long ordinary = 64'000'000 / 1024;
  constexpr long large = 192'000'000 / 1024;
  const auto largest_xz = xz_with_dictionary(frames(1, 9), 100, 28);  // 64 MiB
  const auto beyond_xz = xz_with_dictionary(frames(1, 9), 0, 36);     // 1 GiB
  const struct {
    const char* what;
    std::string path;
    long most;  // KiB
    bool refused;
    std::vector<std::string> options;
  } cases[] = {
      {"xz -9", made("9.xz", largest_xz), large, false, {}},
      {"zstd --long=27", made("27.zst", zstd_with_window(27)), large, false, {}},
      {"xz, 1 GiB", made("30.xz", beyond_xz), ordinary, true, {}},
      {"zstd, 256 MiB", made("28.zst", zstd_with_window(28)), ordinary, true, {}},
      {"xz, 1 GiB, allowed", file("30.xz"), 2'000'000, false, {"--memory", "1100MiB"}},
      {"zstd, 256 MiB, allowed", file("28.zst"), 2'000'000, false, {"--memory", "256MiB"}},
      {"xz -9, not allowed", file("9.xz"), ordinary, true, {"--memory", "32MiB"}},
  };
  for (auto [what, path, most, refused, options] : cases) {
    options.insert(options.end(), {"-f", "jsonl", path});
    const auto got = decode(options);
    EXPECT_LE(got.peak_memory, most) << what;
    EXPECT_EQ(got.output, refused ? "" : lines(1, 9)) << what;
    EXPECT_EQ(got.exit_status, refused ? 1 : 0) << what << got.errors;
    EXPECT_EQ(got.errors.find("--memory") != std::string::npos, refused) << what << got.errors;
  }
  const auto dense = dense_events();
  std::vector<std::string> paths = {made("dense", dense)};
  for (const auto& [name, pack] : packings) paths.push_back(made(name, pack(dense)));
  for (const auto& path : paths) {
    const auto got = decode({"-f", "jsonl", "--raw", "-j", "8", "-o", "/dev/null", path});
    EXPECT_LE(got.peak_memory, ordinary) << path;
    EXPECT_EQ(got.exit_status, 0) << path << got.errors;
  }
}

TEST_F(tvk_decode_input, a_folder_that_cannot_be_read_hides_no_others) {
  start_programs_without_superuser_rights();
  for (const char* name : {"in", "in/a", "in/b", "in/b/deep", "in/c", "in/d"}) {
    fs::create_directory(file(name));
  }
  made("in/a/1", frame(1));
  made("in/b/deep/2", frame(2));
  made("in/c/3", frame(3));
  made("in/empty", {});
  fs::create_directory_symlink(file("in"), file("in/c/loop"));
  // Two: nothing is done after one that ends the listing, whatever the order.
  const auto closed = {file("in/b"), file("in/d")};
  for (const auto& folder : closed) fs::permissions(folder, fs::perms::none);
  const auto got = decode({"-f", "jsonl", file("in"), made("named", frame(4))});
  for (const auto& folder : closed) {
    fs::permissions(folder, fs::perms::owner_all);
    EXPECT_PRED2(contains, got.errors, "tvk-decode: " + folder + ": Permission denied\n");
  }
  EXPECT_EQ(std::ranges::count(got.errors, '\n'), 2) << got.errors;
  EXPECT_EQ(got.output, voice_line(1) + voice_line(3) + voice_line(4));
  EXPECT_EQ(got.exit_status, 1);
}

TEST_F(tvk_decode_input, an_output_never_goes_over_an_input) {
  fs::create_directory(file("in"));
  const auto capture = frames(1, 9);
  const std::string content(capture.begin(), capture.end());
  const auto x = made("in/x", capture);
  const auto csv = made("in/ims_rtp_sn_and_payload.csv", capture);
  fs::create_symlink(x, file("link"));
  fs::create_hard_link(x, file("hard"));
  const std::string port = "unix:" + file("no_port");
  std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
      {TVK_DECODE_PROGRAM, {"-o", x, x}},
      {TVK_DECODE_PROGRAM, {"-f", "none", "-o", x, x}},
      {TVK_DECODE_PROGRAM, {"-f", "jsonl", "-o", file("link"), x}},
      {TVK_DECODE_PROGRAM, {"-f", "jsonl", "-o", x, file("hard")}},
      {TVK_DECODE_PROGRAM, {"-f", "jsonl", "-o", file("in/../link"), file("in")}},
      {TVK_DECODE_PROGRAM, {"-f", "csv", "-o", file("in"), csv}},
      {TVK_DECODE_PROGRAM, {"-f", "csv", "-o", file("in"), file("in")}},
      {TVK_DECODE_PROGRAM, {"--live", port, "-f", "jsonl", "-o", file("link"), "--save", x}},
  };
  if (!TVK_CROSS_BUILD) {
    for (const char* command :
         {"exec \"$0\" -f jsonl -o \"$1\" - < \"$1\"", "exec \"$0\" -f jsonl \"$1\" >> \"$1\""}) {
      cases.push_back({"/bin/sh", {"-c", command, TVK_DECODE_PROGRAM, x}});
    }
  }
  for (const auto& [program, arguments] : cases) {
    const auto got = run(program, arguments);
    const auto what = testing::PrintToString(arguments);
    EXPECT_EQ(got.exit_status, 1) << what;
    EXPECT_PRED2(contains, got.errors, "already an input or another output") << what;
    EXPECT_TRUE(read_file(x) == content) << what;
    EXPECT_TRUE(read_file(csv) == content) << what;
  }
  // In a folder of inputs, but no input.
  fs::remove(csv);
  EXPECT_EQ(decode({"-f", "jsonl", "-o", file("in/lines"), file("in")}).exit_status, 0);
  EXPECT_TRUE(records_in(read_file(file("in/lines"))) == lines(1, 9));
}

TEST_F(tvk_decode_input, a_run_that_decodes_nothing_leaves_its_output_as_it_was) {
  const auto keep = made("keep", hex("41*9"));
  const auto notes = made("notes", hex("42*99"));
  for (const std::vector<std::string>& inputs : {std::vector<std::string>{file("missing")},
                                                 {notes},
                                                 {"--live", "unix:" + file("no_port")},
                                                 {"--code", "1", file("missing")}}) {
    auto arguments = inputs;
    arguments.insert(arguments.end(), {"-f", "jsonl", "-o", keep});
    EXPECT_NE(decode(arguments).exit_status, 0);
    EXPECT_EQ(read_file(keep), "AAAAAAAAA");
  }
  // Something was decoded, of which nothing is wanted.
  EXPECT_EQ(decode({"-f", "jsonl", "--radio", "9", "-o", keep, made("a", frame(1))}).exit_status,
            0);
  EXPECT_EQ(read_file(keep), "");
  // The shorter takes the place of the longer.
  made("keep", bytes(9999, 0x41));
  EXPECT_EQ(decode({"-f", "jsonl", "-o", keep, file("a")}).exit_status, 0);
  EXPECT_EQ(records_in(read_file(keep)), voice_line(1));
}

TEST_F(tvk_decode_input, an_output_that_may_not_grow_is_an_error_to_read) {
  const auto path = made("a", frames(1, 99));
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const rlimit limited{4096, before.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &limited);
  const auto got = decode({"-f", "jsonl", "-o", file("lines"), path});
  ::setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(got.exit_status, 1);
  EXPECT_EQ(got.errors, "tvk-decode: " + file("lines") + ": File too large\n");
}

}  // namespace
