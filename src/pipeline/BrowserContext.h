// Which web site the user is on when a dictation starts.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "platform/AccessibilityTree.h"
#include "platform/Workspace.h"

namespace pell {

class Log;
class UserDefaults;

/// Reads the address of the page on show out of the browser's accessibility tree, within tight limits: it
/// stands on the way from the key to the recording. Only the host is kept; the address is neither stored
/// nor logged. Whatever goes wrong is an absent host and a stage in the log.
///
/// Main thread only. Everything it is given must outlive it.
class BrowserContext {
 public:
  static constexpr Seconds messagingTimeout{0.25};  // for each element
  static constexpr int deepestWebArea = 12;         // steps below the window
  static constexpr std::size_t childrenSearched = 24;

  /// The key under which a user default asks for the shape of the tree where no address was found.
  static constexpr std::string_view debugKey = "debugBrowserContext";

  struct Dependencies {
    AccessibilityTree& accessibility;
    const UserDefaults& defaults;
    const Log& log;
    std::set<std::string> platformBrowsers = {};  // identifiers beside the ones that are the same everywhere
  };

  explicit BrowserContext(Dependencies dependencies);

  bool isBrowser(const std::optional<std::string>& bundleIdentifier) const;

  /// In the normal form of `StyleResolver::normaliseHost`; absent for whatever is no web page in a browser.
  std::optional<std::string> host(const std::optional<RunningApplication>& application) const;

 private:
  struct Finding;

  Finding look(const RunningApplication& application) const;
  void dumpTree(const AccessibilityElementRef& window) const;

  Dependencies dependencies_;
};

}  // namespace pell
