#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "bridge/VEMOLogger.h"
#include "platform/LineQueue.h"
#include "platform/SecretMask.h"

namespace vemo {

/// A system log that writes its lines to a stream, standard error unless told otherwise.
/// Callers never wait for it: see LineQueue. A harmless line is written as it is; control
/// characters in it are escaped, and secrets in JSON that it holds are masked.
///
/// Threads: any. Destruction writes what is queued.
class StreamSystemLog final : public SystemLog {
 public:
  StreamSystemLog();
  /// The stream must outlive this and is used by its thread alone or is thread-safe; at
  /// the end it is waited for, however long it takes what is queued.
  explicit StreamSystemLog(std::ostream& out);

  void writeLine(std::string_view line) override;

 private:
  const SecretMask mask_;
  LineQueue lines_;
};

}  // namespace vemo
