// One connection to the X server, with its failures as values.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <variant>
#include <vector>

struct _XDisplay;

namespace pell {

/// Why a mechanism of X11 cannot be used here, for the log.
struct X11Unavailable {
  std::string reason;
  bool operator==(const X11Unavailable&) const = default;
};

/// Neither a protocol error nor a lost server ends the process. What happens on other libraries' displays
/// goes to their handlers as before, if they have set theirs before the latest connection here was made.
/// Belongs to one thread at a time.
class X11Connection {
 public:
  using Opening = std::variant<std::unique_ptr<X11Connection>, X11Unavailable>;

  /// Connects to the display that the environment names.
  static Opening open();

  X11Connection(const X11Connection&) = delete;
  X11Connection& operator=(const X11Connection&) = delete;
  ~X11Connection();

  _XDisplay* display() const { return display_; }
  unsigned long root() const { return root_; }
  int descriptor() const;

  /// The number of an atom, made where it is new.
  unsigned long atom(const char* name) const;

  /// The numbers of several atoms in one round trip.
  std::vector<unsigned long> atoms(const std::vector<std::string>& names) const;

  /// The names of several atoms in one round trip; empty text for a number that is none.
  std::vector<std::string> atomNames(const std::vector<unsigned long>& atoms) const;

  /// Waits until the server has dealt with everything sent, and gives the codes of the protocol errors
  /// that have come since the last call.
  std::vector<int> takeErrors();

  /// True once the server is gone; every call into Xlib then fails at once. Any thread.
  bool isLost() const { return lost_; }

 private:
  explicit X11Connection(_XDisplay* display);

  _XDisplay* display_;
  unsigned long root_;
  std::vector<int> errors_;
  std::atomic<bool> lost_ = false;

  friend struct X11ConnectionHooks;
};

/// What the taps and the synthetic keys need of the server and do not find; empty when all is there.
std::string missingX11Input(X11Connection& connection);

}  // namespace pell
