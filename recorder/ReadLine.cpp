#include "recorder/ReadLine.h"

#include <array>
#include <istream>

namespace vemo {

LineRead readLine(std::istream& in, std::string& line) {
  std::array<char, 16'384> part;
  line.clear();
  while (line.size() <= kMaxLineBytes) {
    in.getline(part.data(), part.size());
    const auto count = static_cast<std::size_t>(in.gcount());  // with the line break
    const bool isFull = in.fail() && !in.eof() && !in.bad() && count > 0;
    if (!in.fail()) {
      line.append(part.data(), in.eof() ? count : count - 1);
      return LineRead::whole;
    }
    line.append(part.data(), count);
    if (!isFull) return line.empty() || in.bad() ? LineRead::none : LineRead::whole;
    in.clear();
  }
  return LineRead::tooLong;
}

}  // namespace vemo
