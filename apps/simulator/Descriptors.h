#pragma once

namespace vemo {

/// Lets this process have as many files and connections open as its user may.
void raiseDescriptorLimit();

/// A file descriptor kept back for the moment when there is no other.
class SpareDescriptor {
 public:
  SpareDescriptor() { keep(); }
  ~SpareDescriptor() { giveUp(); }
  SpareDescriptor(const SpareDescriptor&) = delete;
  SpareDescriptor& operator=(const SpareDescriptor&) = delete;

  /// Takes a descriptor if none is held; false when there is none to have.
  bool keep();
  /// Frees it for someone else; false when none was held.
  bool giveUp();

 private:
  int descriptor_ = -1;
};

}  // namespace vemo
