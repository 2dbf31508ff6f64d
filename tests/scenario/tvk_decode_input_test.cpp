// What tvk-decode takes and what it leaves alone: packed captures and damage in them, memory,
// directories, and outputs that are inputs.
#include <sys/resource.h>

#include <algorithm>
#include <filesystem>

#include "support/decode_run.h"
#include "support/limits.h"
#include "support/test.h"

namespace {

namespace fs = std::filesystem;
using namespace support;

bytes with_flipped(bytes content, std::size_t from_end) {
  content[content.size() - from_end] ^= 0x10;
  return content;
}

/// One with its content as it is.
bytes zstd_block(const bytes& content) {
  return u16(content.size() << 3) + hex("00") + content;
}

using tvk_decode_input = with_captures;

constexpr const char* packings[] = {"gzip", "zstd", "bzip2 -1", "xz"};

// More than the largest chunk, and several blocks of every packing.
constexpr std::size_t all = 6000;
constexpr std::size_t half = all / 2;

TEST_F(tvk_decode_input, of_packed_captures_gives_all_that_can_be_unpacked) {
  // `least`: lines from the first on; no error: undamaged.
  const auto expect = [&](const std::string& what, const bytes& content, std::size_t least,
                          const std::string& error) {
    SCOPED_TRACE(what);
    const auto path = made("packed", content);
    std::string alone;
    for (const char* threads : {"1", "8"}) {
      const auto got = decode({"-f", "jsonl", "--summary", "-j", threads, path});
      const auto count = static_cast<std::size_t>(std::ranges::count(got.output, '\n'));
      EXPECT_GE(count, least);
      EXPECT_TRUE(got.output == voice_lines(1, count));
      if (alone.empty()) alone = got.output;
      EXPECT_TRUE(got.output == alone) << threads;
      EXPECT_EQ(got.exit_status, error.empty() ? 0 : 1);
      EXPECT_EQ(got.errors.starts_with("tvk-decode: " + path + ": "), !error.empty());
      EXPECT_PRED2(contains, got.errors, error);
      EXPECT_PRED2(contains, got.errors,
                   "\ndamaged files            " + std::string(error.empty() ? "0" : "1") + "\n");
    }
  };
  for (const std::string packing : packings) {
    SCOPED_TRACE(packing);
    const auto whole = packed(packing, voice_frames(1, all));
    const auto first = packed(packing, voice_frames(1, half));
    const auto second = packed(packing, voice_frames(half + 1, all));
    expect("whole", whole, all, "");
    expect("two members", first + second, all, "");
    expect("padding", first + hex("00*512") + second + hex("00*4"), all, "");
    expect("behind it other bytes", whole + hex("41*300"), all, "other data follows");
    expect("a packed magic in other bytes", whole + hex("41*9") + slice(whole, 0, 9), all, ": ");
    expect("in between other bytes", first + hex("41*70000") + second, all, "other data follows");
    expect("wrong checksum", with_flipped(whole, 3), all, ": ");
    expect("wrong checksum, then a good member", with_flipped(first, 3) + second, all, ": ");
    const auto cut = [&](std::size_t size) { return slice(whole, 0, whole.size() - size); };
    expect("without its last byte", cut(1), all, "the file ends too early");
    expect("a tenth cut off", cut(whole.size() / 10), all / 4, "the file ends too early");
  }
  const auto gzip = packed("gzip", voice_frames(1, all));
  expect("gzip, wrong CRC", with_flipped(gzip, 8), all, "incorrect data check");
  expect("gzip, wrong length", with_flipped(gzip, 4), all, "incorrect length check");
  expect("zstd, a frame to skip first",
         hex("5F2A4D18 04000000 41424344") + packed("zstd", voice_frames(1, all)), all, "");
  // Window of 1 MiB, no size, no checksum; blocks as they are, then one of an invalid kind.
  bytes bad_block = hex("28B52FFD 00 50");
  for (std::uint32_t i = 1; i <= 9; ++i) bad_block = bad_block + zstd_block(voice_frame(i));
  expect("zstd, a bad block behind good ones", bad_block + hex("060000 41*99"), 9, ": ");
}

/// Event reports whose every other event of five bytes becomes two records.
bytes dense_events() {
  bytes body = hex("4626 BE0C0A9E34DDD400 02");
  for (int i = 0; i < 800; ++i) body = body + hex(i % 2 == 0 ? "46A6 0C0A 04" : "46A6 0C0A 02");
  const auto report = diag_frame(hex("60") + u16(body.size()) + body);
  bytes many;
  while (many.size() < 2'000'000) many = std::move(many) + report;
  return many;
}

/// A frame of zstd with a window of 1 << `window_log`: frames, then 150 MB of ones.
bytes zstd_with_window(unsigned window_log) {
  bytes made = hex("28B52FFD 00") + bytes{static_cast<std::uint8_t>((window_log - 10) << 3)} +
               zstd_block(voice_frames(1, 9));
  for (int i = 0; i < 1150; ++i) made = made + hex("020010 01");  // a byte, 128 KiB times
  return made + hex("030000 01");
}

TEST_F(tvk_decode_input, takes_bounded_memory) {
  if (!TVK_OWN_MEMORY) GTEST_SKIP() << "sanitizers and emulators take memory of their own";
  constexpr long ordinary = 64'000'000 / 1024;
  constexpr long large = 192'000'000 / 1024;
  const auto largest_xz = packed(
      "{ cat; head -c 100M /dev/zero; } | xz --lzma2=preset=0,dict=64MiB", voice_frames(1, 9));
  const auto beyond_xz = packed("xz --lzma2=preset=0,dict=256MiB", voice_frames(1, 9));
  const struct {
    std::string path;
    std::vector<std::string> options;
    long most;  // KiB
    bool refused;
  } cases[] = {
      {made("9.xz", largest_xz), {}, large, false},
      {made("27.zst", zstd_with_window(27)), {}, large, false},
      {made("28.xz", beyond_xz), {}, ordinary, true},
      {made("28.zst", zstd_with_window(28)), {}, ordinary, true},
      {file("28.xz"), {"--memory", "257MiB"}, 400'000'000 / 1024, false},
      {file("28.zst"), {"--memory", "256MiB"}, 400'000'000 / 1024, false},
      {file("9.xz"), {"--memory", "32MiB"}, ordinary, true},
  };
  for (auto [path, options, most, refused] : cases) {
    SCOPED_TRACE(path + testing::PrintToString(options));
    options.insert(options.end(), {"-f", "jsonl", path});
    const auto got = decode(options);
    EXPECT_LE(got.peak_memory, most);
    EXPECT_EQ(got.output, refused ? "" : voice_lines(1, 9));
    EXPECT_EQ(got.exit_status, refused ? 1 : 0) << got.errors;
    EXPECT_EQ(contains(got.errors, "--memory"), refused) << got.errors;
  }
  const auto dense = dense_events();
  std::vector<std::string> paths = {made("dense", dense)};
  for (const std::string packing : packings) paths.push_back(made(packing, packed(packing, dense)));
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
  made("in/a/1", voice_frame(1));
  made("in/b/deep/2", voice_frame(2));
  made("in/c/3", voice_frame(3));
  made("in/empty", {});
  fs::create_directory_symlink(file("in"), file("in/c/loop"));
  // Two: nothing is done after one that ends the listing, whatever the order.
  const auto closed = {file("in/b"), file("in/d")};
  for (const auto& folder : closed) fs::permissions(folder, fs::perms::none);
  const auto got = decode({"-f", "jsonl", file("in"), made("named", voice_frame(4))});
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
  const auto capture = voice_frames(1, 9);
  const std::string content(capture.begin(), capture.end());
  const auto x = made("in/x", capture);
  const auto csv = made("in/ims_rtp_sn_and_payload.csv", capture);
  fs::create_symlink(x, file("link"));
  fs::create_hard_link(x, file("hard"));
  const auto expect_refused = [&](const std::string& program,
                                  const std::vector<std::string>& arguments) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const auto got = run(program, arguments);
    EXPECT_EQ(got.exit_status, 1);
    EXPECT_PRED2(contains, got.errors, "already an input or another output");
    EXPECT_TRUE(read_file(x) == content);
    EXPECT_TRUE(read_file(csv) == content);
  };
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"-o", x, x},
        {"-f", "none", "-o", x, x},
        {"-f", "jsonl", "-o", file("link"), x},
        {"-f", "jsonl", "-o", x, file("hard")},
        {"-f", "jsonl", "-o", file("in/../link"), file("in")},
        {"-f", "csv", "-o", file("in"), csv},
        {"-f", "csv", "-o", file("in"), file("in")},
        {"--live", "unix:" + file("no_port"), "-f", "jsonl", "-o", file("link"), "--save", x}}) {
    expect_refused(TVK_DECODE_PROGRAM, arguments);
  }
  for (const char* command :
       {"exec \"$0\" -f jsonl -o \"$1\" - < \"$1\"", "exec \"$0\" -f jsonl \"$1\" >> \"$1\""}) {
    if (!TVK_CROSS_BUILD) expect_refused("/bin/sh", {"-c", command, TVK_DECODE_PROGRAM, x});
  }
  // In a folder of inputs, but no input.
  fs::remove(csv);
  EXPECT_EQ(decode({"-f", "jsonl", "-o", file("in/lines"), file("in")}).exit_status, 0);
  EXPECT_TRUE(records_in(read_file(file("in/lines"))) == voice_lines(1, 9));
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
  EXPECT_EQ(
      decode({"-f", "jsonl", "--radio", "9", "-o", keep, made("a", voice_frame(1))}).exit_status,
      0);
  EXPECT_EQ(read_file(keep), "");
  // The shorter takes the place of the longer.
  made("keep", bytes(9999, 0x41));
  EXPECT_EQ(decode({"-f", "jsonl", "-o", keep, file("a")}).exit_status, 0);
  EXPECT_EQ(records_in(read_file(keep)), voice_line(1));
}

TEST_F(tvk_decode_input, an_output_that_may_not_grow_is_an_error_to_read) {
  const auto path = made("a", voice_frames(1, 99));
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
