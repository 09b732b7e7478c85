#include "platform/linux/X11Connection.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
// Xlibint.h wants Xlib.h before it.
#include <X11/Xlibint.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/XTest.h>
#include <cstdlib>
#include <unistd.h>
#include <utility>

#undef min
#undef max

namespace pell {

namespace {

// The key of our own record among what extensions keep with a display; theirs are small and positive.
constexpr int ownRecord = -0x50656C6C;

// Errors have codes 1 to 127 of the core protocol and of the extensions after them.
constexpr int lastErrorCode = 255;

}  // namespace

struct X11ConnectionHooks {
  static X11Connection* find(Display* display) {
    XEDataObject object;
    object.display = display;
    XExtData* record = XFindOnExtensionList(XEHeadOfExtensionList(object), ownRecord);
    return record ? reinterpret_cast<X11Connection*>(record->private_data) : nullptr;
  }

  // False keeps the error from the process-wide handler, which would end the process.
  static Bool onError(Display* display, XErrorEvent*, xError* error) {
    if (auto* connection = find(display)) connection->errors_.push_back(error->errorCode);
    return False;
  }

  static void onLost(Display*, void* connection) { static_cast<X11Connection*>(connection)->lost_ = true; }

  // Xlib has one such handler for the process and gives it no context; the usual one ends the process
  // before a display's own handler is asked. Ours lets our displays pass and hands on all others.
  static std::atomic<XIOErrorHandler>& otherHandler() {
    static std::atomic<XIOErrorHandler> handler = nullptr;
    return handler;
  }
  static int onServerGone(Display* display) {
    if (find(display)) return 0;
    XIOErrorHandler other = otherHandler();
    return other ? other(display) : 0;
  }
  static void install() {
    XIOErrorHandler before = XSetIOErrorHandler(&onServerGone);
    if (before != &onServerGone) otherHandler() = before;
  }

  static int forget(XExtData*) { return 0; }

  static void attach(X11Connection& connection) {
    auto* record = static_cast<XExtData*>(std::calloc(1, sizeof(XExtData)));  // freed by XCloseDisplay
    record->number = ownRecord;
    record->private_data = reinterpret_cast<XPointer>(&connection);
    record->free_private = &forget;
    XEDataObject object;
    object.display = connection.display_;
    XAddToExtensionList(XEHeadOfExtensionList(object), record);
    for (int code = 1; code <= lastErrorCode; ++code) {
      XESetWireToError(connection.display_, code, &onError);
    }
    install();
    XSetIOErrorExitHandler(connection.display_, &onLost, &connection);
  }
};

X11Connection::Opening X11Connection::open() {
  XInitThreads();
  Display* display = XOpenDisplay(nullptr);
  if (!display) {
    const char* name = std::getenv("DISPLAY");
    return X11Unavailable{name && *name ? "no X server answers at " + std::string(name)
                                        : "DISPLAY is not set"};
  }
  return std::unique_ptr<X11Connection>(new X11Connection(display));
}

X11Connection::X11Connection(_XDisplay* display) : display_(display), root_(DefaultRootWindow(display)) {
  X11ConnectionHooks::attach(*this);
}

X11Connection::~X11Connection() { XCloseDisplay(display_); }

int X11Connection::descriptor() const { return ConnectionNumber(display_); }

unsigned long X11Connection::atom(const char* name) const { return XInternAtom(display_, name, False); }

std::vector<unsigned long> X11Connection::atoms(const std::vector<std::string>& names) const {
  std::vector<char*> pointers;
  for (const auto& name : names) pointers.push_back(const_cast<char*>(name.c_str()));
  std::vector<Atom> found(names.size());
  if (!names.empty()) {
    XInternAtoms(display_, pointers.data(), static_cast<int>(pointers.size()), False, found.data());
  }
  return found;
}

std::vector<std::string> X11Connection::atomNames(const std::vector<unsigned long>& atoms) const {
  std::vector<char*> found(atoms.size());
  if (!atoms.empty()) {
    XGetAtomNames(display_, const_cast<Atom*>(atoms.data()), static_cast<int>(atoms.size()), found.data());
  }
  std::vector<std::string> names;
  for (char* name : found) {
    names.emplace_back(name ? name : "");
    if (name) XFree(name);
  }
  return names;
}

std::vector<int> X11Connection::takeErrors() {
  XSync(display_, False);
  return std::exchange(errors_, {});
}

std::string missingX11Input(X11Connection& connection) {
  int opcode = 0, event = 0, error = 0, major = 2, minor = 2;
  if (!XQueryExtension(connection.display(), "XInputExtension", &opcode, &event, &error) ||
      XIQueryVersion(connection.display(), &major, &minor) != Success || major < 2 ||
      (major == 2 && minor < 1)) {
    return "the X server lacks XInput 2.1";
  }
  if (!XTestQueryExtension(connection.display(), &event, &error, &major, &minor)) {
    return "the X server lacks XTEST";
  }
  major = XkbMajorVersion;
  minor = XkbMinorVersion;
  if (!XkbQueryExtension(connection.display(), &opcode, &event, &error, &major, &minor)) {
    return "the X server lacks XKB";
  }
  return {};
}

}  // namespace pell
