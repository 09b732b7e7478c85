#include "platform/linux/X11SelectionOwner.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <algorithm>
#include <cstdint>
#include <utility>

namespace pell {

namespace {

constexpr std::size_t partBytes = 256 * 1024;
constexpr Seconds longestPause{10.0};
constexpr Seconds longestStampWait{1.0};

}  // namespace

X11SelectionOwner::X11SelectionOwner(X11Loop& loop, X11Connection& connection, unsigned long window)
    : loop_(loop), connection_(connection), window_(window) {
  auto atoms = connection.atoms(
      {"TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS", "INCR", "ATOM_PAIR", "NULL", "PELL_TIME"});
  targets_ = atoms[0];
  multiple_ = atoms[1];
  timestamp_ = atoms[2];
  saveTargets_ = atoms[3];
  incr_ = atoms[4];
  atomPair_ = atoms[5];
  null_ = atoms[6];
  stampProperty_ = atoms[7];
}

void X11SelectionOwner::onEvent(XEvent& event) {
  switch (event.type) {
    case SelectionRequest:
      onRequest(event);
      break;
    case SelectionClear: {
      // One that tells of an ownership before the present one is old news.
      auto owned = owned_.find(event.xselectionclear.selection);
      if (owned != owned_.end() && XGetSelectionOwner(connection_.display(), owned->first) != window_) {
        owned_.erase(owned);
      }
      break;
    }
    case PropertyNotify:
      if (event.xproperty.window == window_ && event.xproperty.atom == stampProperty_) {
        stamp_ = event.xproperty.time;
      } else if (event.xproperty.state == PropertyDelete) {
        continueTransfer(event.xproperty.window, event.xproperty.atom);
      }
      break;
    case DestroyNotify:
      forgetTransfers(event.xdestroywindow.window);
      break;
    default:
      break;
  }
}

bool X11SelectionOwner::acquire(unsigned long selection,
                                std::shared_ptr<const std::vector<SelectionOffer>> content) {
  std::vector<std::string> names;
  for (const auto& offer : *content) {
    names.push_back(offer.target);
    names.push_back(offer.kind.type);
  }
  auto atoms = connection_.atoms(names);
  Ownership ownership{.offers = {}, .since = serverTime()};
  for (std::size_t i = 0; i < content->size(); ++i) {
    const auto& offer = (*content)[i];
    ownership.offers.push_back({.target = atoms[2 * i],
                                .type = atoms[2 * i + 1],
                                .format = offer.kind.format,
                                .bytes = offer.bytes});
  }
  XSetSelectionOwner(connection_.display(), selection, window_, ownership.since);
  if (XGetSelectionOwner(connection_.display(), selection) != window_) {
    owned_.erase(selection);
    return false;
  }
  owned_[selection] = std::move(ownership);
  return true;
}

void X11SelectionOwner::clear(unsigned long selection, unsigned long time) {
  XSetSelectionOwner(connection_.display(), selection, None, time);
  XFlush(connection_.display());
  owned_.erase(selection);
}

void X11SelectionOwner::release(unsigned long selection) {
  if (owns(selection)) clear(selection, serverTime());
}

std::vector<unsigned long> X11SelectionOwner::targets(unsigned long selection) const {
  std::vector<unsigned long> targets;
  auto owned = owned_.find(selection);
  if (owned == owned_.end()) return targets;
  for (const auto& offer : owned->second.offers) targets.push_back(offer.target);
  return targets;
}

unsigned long X11SelectionOwner::serverTime() {
  stamp_ = 0;
  XChangeProperty(connection_.display(), window_, stampProperty_, XA_INTEGER, 8, PropModeAppend, nullptr, 0);
  loop_.pump([&] { return stamp_ != 0; }, X11Loop::now() + toNanoseconds(longestStampWait));
  return stamp_;
}

void X11SelectionOwner::onRequest(const XEvent& event) {
  const XSelectionRequestEvent& asked = event.xselectionrequest;
  Request request{.requestor = asked.requestor,
                  .selection = asked.selection,
                  .target = asked.target,
                  .property = asked.property == None ? asked.target : asked.property};
  bool answered = answer(request);
  XEvent reply{};
  reply.xselection.type = SelectionNotify;
  reply.xselection.requestor = asked.requestor;
  reply.xselection.selection = asked.selection;
  reply.xselection.target = asked.target;
  reply.xselection.property = answered ? request.property : static_cast<Atom>(None);
  reply.xselection.time = asked.time;
  XSendEvent(connection_.display(), asked.requestor, False, NoEventMask, &reply);
  XFlush(connection_.display());
}

bool X11SelectionOwner::answer(const Request& request) {
  auto found = owned_.find(request.selection);
  if (found == owned_.end()) return false;
  const auto& [offers, since] = found->second;
  if (request.target == targets_) {
    auto atoms = targets(request.selection);
    atoms.insert(atoms.begin(), {targets_, multiple_, timestamp_, saveTargets_});
    putAtoms(request, atoms);
    return true;
  }
  if (request.target == multiple_) return answerMultiple(request);
  if (request.target == timestamp_) {
    XChangeProperty(connection_.display(), request.requestor, request.property, XA_INTEGER, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(&since), 1);
    return true;
  }
  if (request.target == saveTargets_) {
    XChangeProperty(connection_.display(), request.requestor, request.property, null_, 32, PropModeReplace,
                    nullptr, 0);
    return true;
  }
  auto offer = std::find_if(offers.begin(), offers.end(),
                            [&](const Offer& candidate) { return candidate.target == request.target; });
  if (offer == offers.end()) return false;
  put(request, *offer);
  return true;
}

// Pairs of target and property; the property of each that is refused is struck out in the list.
bool X11SelectionOwner::answerMultiple(const Request& request) {
  Atom type = None;
  int format = 0;
  unsigned long count = 0, left = 0;
  unsigned char* data = nullptr;
  constexpr long mostPairs = 2048;
  if (XGetWindowProperty(connection_.display(), request.requestor, request.property, 0, mostPairs, False,
                         atomPair_, &type, &format, &count, &left, &data) != Success) {
    return false;
  }
  bool valid = data && type == atomPair_ && format == 32;
  std::vector<unsigned long> pairs;
  if (valid)
    pairs.assign(reinterpret_cast<unsigned long*>(data), reinterpret_cast<unsigned long*>(data) + count);
  if (data) XFree(data);
  if (!valid) return false;
  for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
    Request part{.requestor = request.requestor,
                 .selection = request.selection,
                 .target = pairs[i],
                 .property = pairs[i + 1]};
    if (part.target == multiple_ || part.property == None || !answer(part)) pairs[i + 1] = None;
  }
  XChangeProperty(connection_.display(), request.requestor, request.property, atomPair_, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(pairs.data()), static_cast<int>(pairs.size()));
  return true;
}

void X11SelectionOwner::put(const Request& request, const Offer& offer) {
  if (offer.bytes->size() <= partBytes) {
    write(request.requestor, request.property, offer, 0, offer.bytes->size());
    return;
  }
  transfers_.remove_if([&](const Transfer& transfer) {
    return transfer.requestor == request.requestor && transfer.property == request.property;
  });
  XSelectInput(connection_.display(), request.requestor, PropertyChangeMask | StructureNotifyMask);
  transfers_.push_back({.requestor = request.requestor,
                        .property = request.property,
                        .offer = offer,
                        .lastProgress = X11Loop::now()});
  auto size = static_cast<unsigned long>(offer.bytes->size());
  XChangeProperty(connection_.display(), request.requestor, request.property, incr_, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(&size), 1);
  sweep();
}

void X11SelectionOwner::putAtoms(const Request& request, const std::vector<unsigned long>& atoms) {
  XChangeProperty(connection_.display(), request.requestor, request.property, XA_ATOM, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(atoms.data()), static_cast<int>(atoms.size()));
}

// The requestor has taken the last part; an empty one after the last ends the transfer.
void X11SelectionOwner::continueTransfer(unsigned long requestor, unsigned long property) {
  auto at = std::find_if(transfers_.begin(), transfers_.end(), [&](const Transfer& transfer) {
    return transfer.requestor == requestor && transfer.property == property;
  });
  if (at == transfers_.end()) return;
  std::size_t count = std::min(partBytes, at->offer.bytes->size() - at->sent);
  write(requestor, property, at->offer, at->sent, count);
  XFlush(connection_.display());
  at->sent += count;
  at->lastProgress = X11Loop::now();
  if (count == 0) {
    transfers_.erase(at);
    bool more = std::any_of(transfers_.begin(), transfers_.end(),
                            [&](const Transfer& transfer) { return transfer.requestor == requestor; });
    if (!more) XSelectInput(connection_.display(), requestor, NoEventMask);
  }
}

void X11SelectionOwner::forgetTransfers(unsigned long requestor) {
  transfers_.remove_if([&](const Transfer& transfer) { return transfer.requestor == requestor; });
}

void X11SelectionOwner::sweep() {
  if (sweeping_) return;
  sweeping_ = true;
  loop_.at(X11Loop::now() + toNanoseconds(longestPause), [this] {
    sweeping_ = false;
    transfers_.remove_if([&](const Transfer& transfer) {
      return X11Loop::now() - transfer.lastProgress > toNanoseconds(longestPause);
    });
    if (!transfers_.empty()) sweep();
  });
}

void X11SelectionOwner::write(unsigned long window, unsigned long property, const Offer& offer,
                              std::size_t from, std::size_t count) {
  const char* bytes = offer.bytes->data() + from;
  if (offer.format != 32) {
    XChangeProperty(connection_.display(), window, property, offer.type, offer.format, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(bytes),
                    static_cast<int>(count / static_cast<std::size_t>(offer.format / 8)));
    return;
  }
  // Xlib takes 32-bit units as longs.
  std::vector<unsigned long> units;
  for (std::size_t at = 0; at + sizeof(std::uint32_t) <= count; at += sizeof(std::uint32_t)) {
    std::uint32_t unit = 0;
    std::copy_n(bytes + at, sizeof unit, reinterpret_cast<char*>(&unit));
    units.push_back(unit);
  }
  XChangeProperty(connection_.display(), window, property, offer.type, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(units.data()), static_cast<int>(units.size()));
}

}  // namespace pell
