// The CLIPBOARD selection as the general pasteboard.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "platform/Pasteboard.h"
#include "platform/linux/X11Connection.h"

namespace pell {

class Log;

/// Owns, serves and reads the clipboard on a thread and a connection of its own, so that neither a busy
/// main thread keeps other programs waiting nor a hung program the main thread. What we own is read from
/// memory.
class X11Pasteboard final : public Pasteboard {
 public:
  using Opening = std::variant<std::unique_ptr<X11Pasteboard>, X11Unavailable>;

  /// What this process has on the clipboard through its user-interface toolkit, if it has. Such content
  /// cannot be asked for through X: the toolkit would answer on the thread that waits for the answer.
  /// Main thread.
  using OwnContent = std::function<std::optional<std::vector<PasteboardItem>>()>;

  static Opening open(const Log& log, OwnContent ownContent = nullptr);

  ~X11Pasteboard() override;

  std::vector<PasteboardItem> items() override;
  std::optional<std::string> string() override;
  void clearContents() override;
  void writeItems(std::vector<PasteboardItem> items) override;

  /// Offers the present content as the primary selection too, until the content changes: some terminals
  /// paste nothing else.
  void offerAsPrimary();

  /// Hands the content to the desktop's clipboard manager, since it would be gone with this process.
  /// Bounded. False when there was nothing to hand over or nobody to take it.
  bool handOver();

 private:
  struct Server;
  X11Pasteboard(std::unique_ptr<Server> server, const Log& log, OwnContent ownContent);

  std::unique_ptr<Server> server_;
  const Log& log_;
  OwnContent ownContent_;
};

}  // namespace pell
