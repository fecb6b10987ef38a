// The files by which a user switches the module's trace log, and reads it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace user {

/// The trace files of a module as they were found; its end leaves the folder so.
class TraceFiles {
 public:
  explicit TraceFiles(const std::wstring& module_path);
  TraceFiles(const TraceFiles&) = delete;
  TraceFiles& operator=(const TraceFiles&) = delete;
  ~TraceFiles();

  /// Writes the number into the mask file, or takes the file away; the module looks at the start of a document.
  bool SwitchOn(int mask);
  void SwitchOff();
  /// The lines that the log has got since the last call.
  std::vector<std::string> NewLines();

  const std::wstring& Log() const { return log_; }

 private:
  std::wstring log_;
  std::wstring mask_;
  std::string old_mask_;
  std::size_t read_ = 0;
  bool made_folder_;
  bool had_log_;
  bool had_mask_;
};

}  // namespace user
