// The application in front, by the window that the window manager calls active.
#pragma once

#include <memory>
#include <variant>

#include "platform/Workspace.h"
#include "platform/linux/ApplicationIdentity.h"
#include "platform/linux/X11Connection.h"

namespace pell {

class Log;

class X11Workspace final : public Workspace {
 public:
  using Opening = std::variant<std::unique_ptr<X11Workspace>, X11Unavailable>;

  /// Begins to watch, on a thread and a connection of its own. What is in front is known on return.
  static Opening open(const Log& log);

  ~X11Workspace() override;

  std::optional<RunningApplication> frontmostApplication() const override;
  bool isSelfActive() const override;
  bool open(const std::string& address) override;

  /// How the window in front takes a paste. Any thread.
  PasteStyle pasteStyle() const;

 private:
  struct Watcher;
  X11Workspace(std::unique_ptr<Watcher> watcher, const Log& log);

  std::unique_ptr<Watcher> watcher_;
  const Log& log_;
};

}  // namespace pell
