#include <iostream>
#include <string>
#include <vector>

#include "classroom/Desktop.h"
#include "classroom/Options.h"

int main(int argc, char** argv) {
  using namespace vemo;
  std::string error;
  const auto options = classroomOptionsFrom(std::vector<std::string>(argv + 1, argv + argc), error);
  int status = 2;
  if (options && options->help) {
    std::cout << classroomUsage();
    return 0;
  }
  if (options && options->version) {
    std::cout << "vemo-classroom " VEMO_VERSION "\n";
    return 0;
  }
  if (options) status = runClassroom(*options, error);
  if (!error.empty()) std::cerr << "vemo-classroom: " << error << '\n';
  return status;
}
