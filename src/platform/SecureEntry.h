#pragma once

namespace pell {

/// Whether some program has switched secure keyboard entry on. A cheap local call. Main thread.
class SecureEntry {
 public:
  virtual ~SecureEntry() = default;
  virtual bool isEnabled() = 0;
};

}  // namespace pell
