// What every test includes first.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/bytes.h"

namespace support {

/// As in EXPECT_PRED2(contains, errors, "not a file"), which shows both.
inline bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace support
