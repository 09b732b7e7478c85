#pragma once

#include <gio/gio.h>

#include "platform/Services.h"
#include "platform/linux/GLibThread.h"

namespace pell {

/// Holds an idle inhibitor of the login manager while an activity lasts. Asking happens on a thread of its
/// own; where there is no login manager nothing is held.
class LogindActivity final : public SystemActivity {
 public:
  explicit LogindActivity(GBusType bus = G_BUS_TYPE_SYSTEM) : bus_(bus) {}

  std::unique_ptr<ActivityToken> begin(std::string_view reason) override;

 private:
  const GBusType bus_;
  GLibThread thread_{"activity"};
};

}  // namespace pell
