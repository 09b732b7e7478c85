#include "app/AppState.h"

namespace pell {

std::string_view logLabel(AppState::Screen screen) {
  switch (screen) {
    case AppState::Screen::loading:
      return "loading";
    case AppState::Screen::signedOut:
      return "signed_out";
    case AppState::Screen::onboarding:
      return "onboarding";
    case AppState::Screen::ready:
      break;
  }
  return "ready";
}

}  // namespace pell
