#pragma once

#include <filesystem>

#include "platform/Services.h"

namespace pell {

/// The desktop's autostart folder: an entry there starts Pell, hidden, when the user logs in. The user may
/// switch it off in the desktop's own settings, so the file is read at each question.
class AutostartLoginItem final : public LoginItem {
 public:
  /// `configHome` is the folder above "autostart"; `program` is what the entry starts.
  AutostartLoginItem(const std::filesystem::path& configHome, std::filesystem::path program);

  /// 1 when the entry is there and not switched off, else 0.
  int status() const override;
  std::string setRegistered(bool registered) override;

 private:
  std::filesystem::path file_;
  std::filesystem::path program_;
};

}  // namespace pell
