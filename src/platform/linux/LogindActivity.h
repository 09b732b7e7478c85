#pragma once

#include "platform/Services.h"
#include "platform/linux/GLibThread.h"

namespace pell {

/// Keeps the machine awake through the login manager's idle inhibitor. Asked for on a thread of its own;
/// without a login manager nothing happens. Tokens must not outlive it.
class LogindActivity final : public SystemActivity {
 public:
  LogindActivity() : thread_("activity") {}

  std::unique_ptr<ActivityToken> begin(std::string_view reason) override;

 private:
  GLibThread thread_;
};

}  // namespace pell
