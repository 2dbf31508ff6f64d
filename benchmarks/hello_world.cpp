// The baseline of startup.cpp: the least that a C++ program does.
#include <cstdio>

int main() {
  std::puts("Hello, world!");
}
