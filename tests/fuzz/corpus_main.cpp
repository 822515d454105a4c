// Gives a fuzz target the inputs in folders: what it is tested with where it is no fuzzer.
//
//     fuzz_NAME FOLDER...

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <string>

#include "fuzz/FuzzTarget.h"

int main(int argc, char** argv) {
  int inputs = 0;
  for (const auto* const folder : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
      std::ifstream in(file.path(), std::ios::binary);
      const std::string input(std::istreambuf_iterator<char>(in), {});
      std::cout << file.path().filename().string() << '\n' << std::flush;  // seen if it breaks
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
      ++inputs;
    }
  }
  std::cout << inputs << " inputs\n";
  return inputs > 0 ? 0 : 1;
}
