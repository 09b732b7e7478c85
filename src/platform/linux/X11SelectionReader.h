// Reads selections that other programs own.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/linux/SelectionFormats.h"
#include "platform/linux/X11Loop.h"

namespace pell {

/// Belongs to its loop's thread, whose events it is given. Reads wait inside the loop, which goes on
/// serving everything else. An owner that is silent for `longestSilence` is given up; one that keeps
/// sending has `longestTransfer` and `mostBytes` for all of it.
class X11SelectionReader {
 public:
  static constexpr Seconds longestSilence{0.5};
  static constexpr Seconds longestTransfer{4.0};
  static constexpr std::size_t mostBytes = 256U << 20U;

  /// `window` is ours and is selected for property changes.
  X11SelectionReader(X11Loop& loop, X11Connection& connection, unsigned long window);

  /// Takes the events that belong to reading.
  void onEvent(_XEvent& event);

  /// Tells that the selection has another owner, or none, so that nothing more comes from the old one.
  void onOwnerChanged() { ownerChanged_ = true; }

  struct Conversion {
    unsigned long selection, target, property, time;
  };

  /// Asks for a conversion and waits for the answer. True when it was done.
  bool convert(const Conversion& conversion, Instant deadline);

  /// Every format worth keeping, in the owner's order.
  std::vector<SelectionData> readAll(unsigned long selection);

  /// The plain text, as UTF-8.
  std::optional<std::string> readText(unsigned long selection);

 private:
  enum class Refusal { refused, silent };
  using Reading = std::variant<SelectionData, Refusal>;

  struct Notice {
    unsigned long selection, target, property;
  };

  void begin();
  void ask(const Conversion& conversion);
  bool isAnswered(const Conversion& conversion);
  bool wait(const std::function<bool()>& done);
  Reading read(unsigned long selection, unsigned long target, const std::string& name);
  bool readIncrements(unsigned long property, SelectionData& data, unsigned long& type);
  std::optional<unsigned long> fetch(unsigned long property, SelectionData& data);

  X11Loop& loop_;
  X11Connection& connection_;
  unsigned long window_;
  unsigned long targets_, incr_;
  std::vector<unsigned long> properties_;  // taken in turn, so that a late answer meets nobody
  std::size_t turn_ = 0;

  Instant deadline_;
  std::size_t bytesLeft_ = 0;
  bool ownerChanged_ = false;
  std::optional<Notice> notice_;
  unsigned long awaitedProperty_ = 0;
  bool propertyArrived_ = false;
};

}  // namespace pell
