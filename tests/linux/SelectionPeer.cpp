#include "linux/SelectionPeer.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <thread>

#include "linux/DesktopHelpers.h"

namespace pell::testing {

namespace {

constexpr Seconds patience{5.0};

// Waits for an event that `wanted` takes.
bool waitFor(Display* display, const std::function<bool(const XEvent&)>& wanted) {
  const auto end = X11Loop::now() + toNanoseconds(patience);
  while (X11Loop::now() < end) {
    if (XPending(display) == 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      continue;
    }
    XEvent event;
    XNextEvent(display, &event);
    if (wanted(event)) return true;
  }
  return false;
}

// The property's value, in the wire's widths; deletes it.
std::optional<SelectionData> take(X11Connection& connection, Window window, Atom property) {
  Atom type = None;
  int format = 0;
  unsigned long count = 0, left = 0;
  unsigned char* data = nullptr;
  constexpr long everything = 0x1FFFFFFF;
  XGetWindowProperty(connection.display(), window, property, 0, everything, True, AnyPropertyType, &type,
                     &format, &count, &left, &data);
  if (type == None) return std::nullopt;
  SelectionData value{
      .target = {}, .kind = {.type = connection.atomNames({type})[0], .format = format}, .bytes = {}};
  for (unsigned long i = 0; i < count; ++i) {
    if (format == 8) value.bytes += static_cast<char>(data[i]);
    if (format == 16) value.bytes.append(reinterpret_cast<char*>(data) + 2 * i, 2);
    if (format == 32)
      value.bytes.append(reinterpret_cast<char*>(data) + sizeof(long) * i, 4);  // little end first
  }
  if (data) XFree(data);
  return value;
}

}  // namespace

SelectionPeer::SelectionPeer() : loop_("peer") {
  auto connection = openDisplay();
  connection_ = connection.get();
  loop_.watch(std::move(connection), [this](XEvent& event) { onEvent(event); });
  loop_.start([] {});
}

SelectionPeer::~SelectionPeer() { loop_.stop(); }

void SelectionPeer::own(std::vector<SelectionData> content, Manners manners, const std::string& selection) {
  loop_.call(
      [&] {
        content_ = std::move(content);
        manners_ = manners;
        transfers_.clear();
        requests_.clear();
        Display* display = connection_->display();
        if (!window_) window_ = XCreateSimpleWindow(display, connection_->root(), -9, -9, 1, 1, 0, 0, 0);
        XSetSelectionOwner(display, connection_->atom(selection.c_str()), window_, CurrentTime);
        XSync(display, False);
      },
      patience);
}

void SelectionPeer::stopAnswering() {
  loop_.call([&] { manners_.answers = false; }, patience);
}

bool SelectionPeer::owns(const std::string& selection) {
  bool owns = false;
  loop_.call(
      [&] {
        Atom atom = connection_->atom(selection.c_str());
        owns = window_ && XGetSelectionOwner(connection_->display(), atom) == window_;
      },
      patience);
  return owns;
}

std::map<std::string, int> SelectionPeer::requests() {
  std::map<std::string, int> requests;
  loop_.call([&] { requests = requests_; }, patience);
  return requests;
}

void SelectionPeer::onEvent(XEvent& event) {
  if (event.type == SelectionRequest && manners_.answers) {
    onRequest(event);
  } else if (event.type == PropertyNotify && event.xproperty.state == PropertyDelete) {
    for (auto& transfer : transfers_) {
      if (transfer.requestor != event.xproperty.window || transfer.property != event.xproperty.atom) continue;
      sendPart(transfer);
      return;
    }
  }
}

void SelectionPeer::onRequest(const XEvent& event) {
  const auto& asked = event.xselectionrequest;
  Display* display = connection_->display();
  std::string target = connection_->atomNames({asked.target})[0];
  ++requests_[target];
  Atom property = asked.property;
  auto found = std::find_if(content_.begin(), content_.end(),
                            [&](const SelectionData& data) { return data.target == target; });
  if (target == "TARGETS") {
    std::vector<std::string> names{"TARGETS", "TIMESTAMP", "MULTIPLE", "DELETE"};
    for (const auto& data : content_) names.push_back(data.target);
    auto atoms = connection_->atoms(names);
    XChangeProperty(display, asked.requestor, property, XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<unsigned char*>(atoms.data()), static_cast<int>(atoms.size()));
  } else if (found == content_.end()) {
    property = None;
  } else if (found->bytes.size() <= manners_.partBytes) {
    put(asked.requestor, property, *found, 0, found->bytes.size());
  } else {
    XSelectInput(display, asked.requestor, PropertyChangeMask);
    transfers_.push_back({.requestor = asked.requestor, .property = property, .data = *found});
    long size = static_cast<long>(found->bytes.size());
    XChangeProperty(display, asked.requestor, property, connection_->atom("INCR"), 32, PropModeReplace,
                    reinterpret_cast<unsigned char*>(&size), 1);
  }
  XEvent reply{};
  reply.xselection.type = SelectionNotify;
  reply.xselection.requestor = asked.requestor;
  reply.xselection.selection = asked.selection;
  reply.xselection.target = asked.target;
  reply.xselection.property = property;
  reply.xselection.time = asked.time;
  XSendEvent(display, asked.requestor, False, NoEventMask, &reply);
  XFlush(display);
}

void SelectionPeer::sendPart(Transfer& transfer) {
  if (transfer.parts++ == manners_.partsBeforeDeath) {
    XDestroyWindow(connection_->display(), window_);
    XFlush(connection_->display());
    window_ = 0;
    transfers_.clear();
    return;
  }
  std::this_thread::sleep_for(Seconds(manners_.pauseBetweenParts));
  std::size_t count = std::min(manners_.partBytes, transfer.data.bytes.size() - transfer.sent);
  put(transfer.requestor, transfer.property, transfer.data, transfer.sent, count);
  transfer.sent += count;
  XFlush(connection_->display());
}

void SelectionPeer::put(unsigned long window, unsigned long property, const SelectionData& data,
                        std::size_t from, std::size_t count) {
  Atom type = connection_->atom(data.kind.type.empty() ? data.target.c_str() : data.kind.type.c_str());
  std::vector<unsigned long> wide;
  const void* units = data.bytes.data() + from;
  if (data.kind.format == 32) {
    for (std::size_t at = from; at < from + count; at += 4) {
      std::uint32_t unit = 0;
      std::memcpy(&unit, data.bytes.data() + at, sizeof unit);
      wide.push_back(unit);
    }
    units = wide.data();
  }
  XChangeProperty(connection_->display(), window, property, type, data.kind.format, PropModeReplace,
                  static_cast<const unsigned char*>(units),
                  static_cast<int>(count / static_cast<std::size_t>(data.kind.format / 8)));
}

std::optional<SelectionData> SelectionPeer::ask(const std::string& target, const std::string& selection) {
  auto own = openDisplay();
  Display* display = own->display();
  Window window = XCreateSimpleWindow(display, own->root(), -9, -9, 1, 1, 0, 0, 0);
  XSelectInput(display, window, PropertyChangeMask);
  Atom property = own->atom("PEER_DATA");
  XConvertSelection(display, own->atom(selection.c_str()), own->atom(target.c_str()), property, window,
                    CurrentTime);
  Atom answered = None;
  if (!waitFor(display,
               [&](const XEvent& event) {
                 if (event.type != SelectionNotify) return false;
                 answered = event.xselection.property;
                 return true;
               }) ||
      answered == None) {
    return std::nullopt;
  }
  auto value = take(*own, window, property);
  if (!value || value->kind.type != "INCR") return value;
  SelectionData whole;
  for (;;) {
    bool arrived = waitFor(display, [&](const XEvent& event) {
      return event.type == PropertyNotify && event.xproperty.atom == property &&
             event.xproperty.state == PropertyNewValue;
    });
    if (!arrived) return std::nullopt;
    auto part = take(*own, window, property);
    if (!part) continue;
    whole.kind = part->kind;
    if (part->bytes.empty()) return whole;
    whole.bytes += part->bytes;
  }
}

}  // namespace pell::testing
