#pragma once

#include <exception>
#include <string_view>

namespace pell {

struct AppState;
class Log;

/// What becomes of a failure of work in the background, which the user did not ask for and hears nothing of.
/// A lost session leads to the sign-in screen, without a banner: the one that was shown when the session was
/// lost stands. What the server or the network did is dropped; anything else is logged under `event`.
class ReloadRule {
 public:
  ReloadRule(AppState& state, const Log& log) : state_(state), log_(log) {}

  void failed(const std::exception& failure, std::string_view event) const;

 private:
  AppState& state_;
  const Log& log_;
};

}  // namespace pell
