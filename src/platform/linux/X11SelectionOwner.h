// Owns selections and serves their content to other programs.
#pragma once

#include <list>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/SelectionFormats.h"
#include "platform/linux/X11Loop.h"

namespace pell {

/// Belongs to its loop's thread, whose events it is given. Content past a quarter megabyte goes in parts;
/// a requestor that stops taking them is forgotten after ten seconds.
class X11SelectionOwner {
 public:
  /// `window` is ours and is selected for property changes.
  X11SelectionOwner(X11Loop& loop, X11Connection& connection, unsigned long window);

  /// Takes the events that belong to owning.
  void onEvent(_XEvent& event);

  /// Takes `selection` for this content; false when the server does not let us.
  bool acquire(unsigned long selection, std::shared_ptr<const std::vector<SelectionOffer>> content);

  /// Leaves `selection` without an owner, whoever has had it since before `time`, a stamp of the server.
  void clear(unsigned long selection, unsigned long time);

  /// Gives up `selection` if it is ours.
  void release(unsigned long selection);

  bool owns(unsigned long selection) const { return owned_.contains(selection); }

  /// The targets that are offered under `selection`.
  std::vector<unsigned long> targets(unsigned long selection) const;

  /// A time stamp of the server, as ownership needs it.
  unsigned long serverTime();

 private:
  struct Offer {
    unsigned long target, type;
    int format;
    std::shared_ptr<const std::string> bytes;
  };
  struct Ownership {
    std::vector<Offer> offers;
    unsigned long since = 0;
  };
  struct Transfer {
    unsigned long requestor, property;
    Offer offer;
    std::size_t sent = 0;
    Instant lastProgress;
  };
  struct Request {
    unsigned long requestor, selection, target, property;
  };

  void onRequest(const _XEvent& event);
  bool answer(const Request& request);
  bool answerMultiple(const Request& request);
  void put(const Request& request, const Offer& offer);
  void putAtoms(const Request& request, const std::vector<unsigned long>& atoms);
  void continueTransfer(unsigned long requestor, unsigned long property);
  void forgetTransfers(unsigned long requestor);
  void sweep();
  void write(unsigned long window, unsigned long property, const Offer& offer, std::size_t from,
             std::size_t count);

  X11Loop& loop_;
  X11Connection& connection_;
  unsigned long window_;
  unsigned long targets_, multiple_, timestamp_, saveTargets_, incr_, atomPair_, null_, stampProperty_;
  unsigned long stamp_ = 0;
  std::map<unsigned long, Ownership> owned_;
  std::list<Transfer> transfers_;
  bool sweeping_ = false;
};

}  // namespace pell
