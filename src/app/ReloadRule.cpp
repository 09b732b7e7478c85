#include "app/ReloadRule.h"

#include "app/AppState.h"
#include "server/ApiFailure.h"
#include "stores/Log.h"

namespace pell {

void ReloadRule::failed(const std::exception& failure, std::string_view event) const {
  if (const auto* server = dynamic_cast<const ApiFailure*>(&failure)) {
    if (std::holds_alternative<ApiFailure::SignedOut>(server->content())) {
      state_.screen = AppState::Screen::signedOut;
    }
    return;
  }
  log_.warn(event, {{"reason", failure.what()}});
}

}  // namespace pell
