#include "tvk/output.h"

#include <cstdio>

int refuse_inputs(const command_group& group, int needed) {
  print_misuse(group, "\nnote: need %d inputs, Pls refer to the following cmd:\n", needed);
  return wrong_arguments;
}

void print_bytes(std::span<const unsigned char> bytes) {
  for (const unsigned char byte : bytes) std::printf(" %02X", byte);
  std::printf("\n");
}

void print_data(std::span<const unsigned char> data) {
  std::printf("\ndata len(%d)\ndata: ", static_cast<int>(data.size()));
  print_bytes(data);
}
