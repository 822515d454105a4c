#include <iostream>
#include <string>
#include <vector>

#include "classroom/Desktop.h"
#include "classroom/Options.h"
#include "program/StandardStreams.h"

int main(int argc, char** argv) {
  using namespace vemo;
  fillStandardStreams();
  std::string error;
  const auto options = classroomOptionsFrom(std::vector<std::string>(argv + 1, argv + argc), error);
  int status = 2;
  if (options && options->help) {
    std::cout << classroomUsage();
    return told("vemo-classroom: ");
  }
  if (options && options->version) {
    std::cout << "vemo-classroom " VEMO_VERSION "\n";
    return told("vemo-classroom: ");
  }
  if (options) status = runClassroom(*options, error);
  if (!error.empty()) std::cerr << "vemo-classroom: " << error << '\n';
  return status;
}
