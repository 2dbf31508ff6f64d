// The baseline of startup.cpp: a minimal C++ program.
#include <cstdio>

int main() {
  std::puts("Hello, world!");
}
