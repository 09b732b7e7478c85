#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "localserver/RuleCleaner.h"

namespace pell::localserver {

/// Asks any address that speaks the OpenAI form of `/v1/chat/completions`. The transcript goes as text
/// between two marks that nobody can guess, after an example in which an order is written down and not
/// obeyed. An answer that is blank, cut short or far longer than what was said is a failure. Styles that
/// touch nothing are not asked about.
class ChatCleaner : public Cleaner {
 public:
  struct Setup {
    /// The whole address, http or https.
    std::string url;
    std::string model;
    /// Sent as a bearer token.
    std::optional<std::string> key;
    std::chrono::milliseconds limit{20'000};
  };

  explicit ChatCleaner(Setup setup);

  std::string clean(const Draft& draft) override;

 private:
  std::string requestFor(const Draft& draft, const std::string& mark);

  const Setup setup_;
  RuleCleaner rules_;
};

}  // namespace pell::localserver
