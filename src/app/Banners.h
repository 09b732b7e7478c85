// The one line of news, and the short-lived coaching line.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "app/AppState.h"
#include "app/BannerTexts.h"
#include "async/TaskScope.h"

namespace pell {

/// Tells what kind of news the banner is, from its text alone: whoever writes it states no kind. Holds the
/// refusal of an exhausted allowance and the coaching of a too short tap. Main thread only.
class Banners {
 public:
  enum class Kind { ok, attention, failure };

  static constexpr Seconds shortTapCoachSeconds{2.0};

  Banners(AppState& state, const BannerTexts& texts, Executor& main);

  /// Of the banner on show; `failure` while there is none.
  Kind kind() const;

  void dismiss();

  /// Shows the server's refusal; `message` is its own.
  void reportQuotaExceeded(const std::string& message);

  /// Withdraws that refusal, unless newer news stands in its place.
  void clearQuotaBanner();

  /// The line that coaches a tap which was too short; absent most of the time.
  const Observable<std::optional<std::string>>& shortTapCoach() const { return shortTapCoach_; }

  /// Shows it for two seconds. A second call within them does not lengthen the first one's.
  void flashShortTapCoach();

 private:
  Task<void> endShortTapCoach();

  AppState& state_;
  const BannerTexts& texts_;
  Executor& main_;
  std::optional<std::string> quotaBanner_;  // the refusal as it was shown
  Observable<std::optional<std::string>> shortTapCoach_;
  TaskScope tasks_;
};

}  // namespace pell
