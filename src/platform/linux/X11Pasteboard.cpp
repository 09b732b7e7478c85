#include "platform/linux/X11Pasteboard.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/Xfixes.h>
#include <string>
#include <utility>

#include "platform/linux/X11Loop.h"
#include "platform/linux/X11SelectionOwner.h"
#include "platform/linux/X11SelectionReader.h"
#include "stores/Log.h"

namespace pell {

namespace {

// Clearing and writing belong together as a rule. A clipboard that is empty in between would make some
// clipboard managers put their own content there.
constexpr Seconds clearDelay{0.002};

constexpr Seconds longestHandOver{2.0};

// Reads are bounded by the reader; these are for a loop that does not even come to them.
constexpr Seconds longestRead = X11SelectionReader::longestTransfer + Seconds(1.0);
constexpr Seconds longestWrite{2.0};

}  // namespace

// Everything below runs on the loop's thread once it has started.
struct X11Pasteboard::Server {
  explicit Server(std::unique_ptr<X11Connection> opened)
      : connection(*opened),
        loop("pell-clipboard"),
        window(makeWindow(connection)),
        clipboard(connection.atom("CLIPBOARD")),
        reader(loop, connection, window),
        owner(loop, connection, window) {
    int error = 0;
    XFixesQueryExtension(connection.display(), &fixes, &error);
    XFixesSelectSelectionInput(connection.display(), window, clipboard,
                               XFixesSetSelectionOwnerNotifyMask | XFixesSelectionWindowDestroyNotifyMask |
                                   XFixesSelectionClientCloseNotifyMask);
    loop.watch(std::move(opened), [this](XEvent& event) { onEvent(event); });
  }
  ~Server() { loop.stop(); }

  static Window makeWindow(X11Connection& connection) {
    Window window = XCreateSimpleWindow(connection.display(), connection.root(), -1, -1, 1, 1, 0, 0, 0);
    XSelectInput(connection.display(), window, PropertyChangeMask);
    return window;
  }

  void onEvent(XEvent& event);
  void catchUp();
  bool holdsContent() const { return clearPending || owner.owns(clipboard); }
  std::vector<PasteboardItem> read();
  std::optional<std::string> readText();
  void clear();
  void write(std::vector<PasteboardItem> items);
  void offerAsPrimary();
  bool handOver();

  X11Connection& connection;
  X11Loop loop;
  Window window;
  Atom clipboard;
  X11SelectionReader reader;
  X11SelectionOwner owner;
  int fixes = 0;

  std::vector<PasteboardItem> content;  // ours, while we own the clipboard
  std::shared_ptr<const std::vector<SelectionOffer>> offers;
  SelectionKinds kinds;  // of what was read last
  bool clearPending = false;
  unsigned clears = 0;
};

void X11Pasteboard::Server::onEvent(XEvent& event) {
  if (event.type == fixes + XFixesSelectionNotify) {
    const auto& change = reinterpret_cast<const XFixesSelectionNotifyEvent&>(event);
    if (change.owner == window) return;
    reader.onOwnerChanged();
    if (change.owner != None) clearPending = false;
    return;
  }
  reader.onEvent(event);
  owner.onEvent(event);
  if (event.type == SelectionClear && !owner.owns(clipboard)) {
    content.clear();
    offers.reset();
  }
}

// Deals with everything that happened before now, so that what is decided next rests on it.
void X11Pasteboard::Server::catchUp() {
  XSync(connection.display(), False);
  loop.pump([&] { return XEventsQueued(connection.display(), QueuedAlready) == 0; },
            X11Loop::now() + toNanoseconds(longestWrite));
}

std::vector<PasteboardItem> X11Pasteboard::Server::read() {
  catchUp();
  if (holdsContent()) return content;
  if (XGetSelectionOwner(connection.display(), clipboard) == None) return {};
  auto formats = reader.readAll(clipboard);
  kinds.clear();
  for (const auto& data : formats) kinds[data.target] = data.kind;
  if (formats.empty()) return {};
  return {itemFromSelection(formats)};
}

std::optional<std::string> X11Pasteboard::Server::readText() {
  catchUp();
  if (holdsContent()) {
    for (const auto& item : content) {
      if (const auto* text = item.data(pasteboardTypeString)) return *text;
    }
    return std::nullopt;
  }
  if (XGetSelectionOwner(connection.display(), clipboard) == None) return std::nullopt;
  return reader.readText(clipboard);
}

void X11Pasteboard::Server::clear() {
  catchUp();
  content.clear();
  offers.reset();
  owner.release(XA_PRIMARY);
  clearPending = true;
  // What others copy from now on stays: neither the stamp reaches it nor, where its own is of an earlier key
  // press, the question below.
  loop.at(X11Loop::now() + toNanoseconds(clearDelay), [this, mine = ++clears, asked = owner.serverTime()] {
    catchUp();
    if (!clearPending || mine != clears) return;
    owner.clear(clipboard, asked);
    clearPending = false;
  });
}

void X11Pasteboard::Server::write(std::vector<PasteboardItem> items) {
  catchUp();
  clearPending = false;
  owner.release(XA_PRIMARY);
  offers = std::make_shared<const std::vector<SelectionOffer>>(offersOf(items, kinds));
  content = std::move(items);
  if (!owner.acquire(clipboard, offers)) {
    content.clear();
    offers.reset();
  }
}

void X11Pasteboard::Server::offerAsPrimary() {
  if (offers) owner.acquire(XA_PRIMARY, offers);
}

bool X11Pasteboard::Server::handOver() {
  Atom manager = connection.atom("CLIPBOARD_MANAGER");
  if (!owner.owns(clipboard) || XGetSelectionOwner(connection.display(), manager) == None) return false;
  Atom property = connection.atom("PELL_SAVE");
  auto targets = owner.targets(clipboard);
  XChangeProperty(connection.display(), window, property, XA_ATOM, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(targets.data()), static_cast<int>(targets.size()));
  return reader.convert({.selection = manager,
                         .target = connection.atom("SAVE_TARGETS"),
                         .property = property,
                         .time = owner.serverTime()},
                        X11Loop::now() + toNanoseconds(longestHandOver));
}

X11Pasteboard::Opening X11Pasteboard::open(const Log& log, OwnContent ownContent) {
  auto opening = X11Connection::open();
  if (auto* failure = std::get_if<X11Unavailable>(&opening)) return *failure;
  auto& connection = std::get<0>(opening);
  int event = 0, error = 0;
  if (!XFixesQueryExtension(connection->display(), &event, &error)) {
    return X11Unavailable{"the X server lacks XFIXES"};
  }
  auto server = std::make_unique<Server>(std::move(connection));
  server->loop.start([&log] { log.warn("pasteboard_lost"); });
  return std::unique_ptr<X11Pasteboard>(new X11Pasteboard(std::move(server), log, std::move(ownContent)));
}

X11Pasteboard::X11Pasteboard(std::unique_ptr<Server> server, const Log& log, OwnContent ownContent)
    : server_(std::move(server)), log_(log), ownContent_(std::move(ownContent)) {}

X11Pasteboard::~X11Pasteboard() = default;

std::vector<PasteboardItem> X11Pasteboard::items() {
  if (auto own = ownContent_ ? ownContent_() : std::nullopt) return *own;
  auto result = std::make_shared<std::vector<PasteboardItem>>();
  bool read = server_->loop.call([server = server_.get(), result] { *result = server->read(); }, longestRead);
  if (!read) log_.warn("pasteboard_unreadable");
  return read ? std::move(*result) : std::vector<PasteboardItem>();
}

std::optional<std::string> X11Pasteboard::string() {
  if (auto own = ownContent_ ? ownContent_() : std::nullopt) {
    for (const auto& item : *own) {
      if (const auto* text = item.data(pasteboardTypeString)) return *text;
    }
    return std::nullopt;
  }
  auto result = std::make_shared<std::optional<std::string>>();
  bool read =
      server_->loop.call([server = server_.get(), result] { *result = server->readText(); }, longestRead);
  return read ? std::move(*result) : std::nullopt;
}

void X11Pasteboard::clearContents() {
  server_->loop.call([server = server_.get()] { server->clear(); }, longestWrite);
}

void X11Pasteboard::writeItems(std::vector<PasteboardItem> items) {
  auto shared = std::make_shared<std::vector<PasteboardItem>>(std::move(items));
  bool written = server_->loop.call([server = server_.get(), shared] { server->write(std::move(*shared)); },
                                    longestWrite);
  if (!written) log_.warn("pasteboard_unwritable");
}

void X11Pasteboard::offerAsPrimary() {
  server_->loop.call([server = server_.get()] { server->offerAsPrimary(); }, longestWrite);
}

bool X11Pasteboard::handOver() {
  auto taken = std::make_shared<bool>(false);
  bool done = server_->loop.call([server = server_.get(), taken] { *taken = server->handOver(); },
                                 longestHandOver + Seconds(1.0));
  return done && *taken;
}

}  // namespace pell
