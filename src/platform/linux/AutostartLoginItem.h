#pragma once

#include <filesystem>

#include "platform/Services.h"

namespace pell {

/// Starts the program at login through the desktop's autostart folder. The entry may be edited or switched
/// off there by the user and by the desktop's own settings, so its state is read afresh each time. Main
/// thread.
class AutostartLoginItem final : public LoginItem {
 public:
  /// `configHome` is the user's configuration folder, `executable` what is to be started.
  AutostartLoginItem(std::filesystem::path configHome, std::filesystem::path executable);

  /// The executable of this process.
  static std::filesystem::path thisProgram();

  /// 0: no entry, 1: enabled, 2: there, and switched off.
  int status() const override;
  std::string setRegistered(bool registered) override;

 private:
  std::filesystem::path entry_;
  std::filesystem::path executable_;
};

}  // namespace pell
