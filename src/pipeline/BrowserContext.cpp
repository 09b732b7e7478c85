#include "pipeline/BrowserContext.h"

#include <algorithm>
#include <array>
#include <deque>
#include <fmt/core.h>
#include <utility>
#include <vector>

#include "platform/UserDefaults.h"
#include "stores/Log.h"
#include "stores/Text.h"
#include "stores/Url.h"
#include "styles/StyleResolver.h"

namespace pell {
namespace {

constexpr std::array<std::string_view, 10> browserBundleIDs{
    "com.apple.Safari",        "com.apple.SafariTechnologyPreview", "com.google.Chrome",
    "com.google.Chrome.beta",  "com.google.Chrome.canary",          "com.microsoft.edgemac",
    "com.brave.Browser",       "company.thebrowser.Browser",        "com.vivaldi.Vivaldi",
    "com.operasoftware.Opera",
};

// Of the diagnostic walk.
constexpr int deepestExpanded = 9;
constexpr std::size_t childrenShown = 12;
constexpr int nodesShown = 80;

using Elements = std::vector<AccessibilityElementRef>;

/// The address up to its path: browsers leave characters behind it that no address may hold, and only the
/// host is asked for.
std::optional<Url> siteOf(std::string_view address) {
  constexpr std::string_view beforeHost = "://";
  const auto scheme = address.find(beforeHost);
  if (scheme == std::string_view::npos) return Url::parse(address);
  return Url::parse(address.substr(0, address.find_first_of("/?#", scheme + beforeHost.size())));
}

/// Whether the reading tells an address; a text that does not parse tells an absent one.
bool readsAddress(const AccessibilityReading& reading, std::optional<Url>& address) {
  if (reading.error != AccessibilityError::success) return false;
  if (const auto* url = std::get_if<AccessibilityUrl>(&reading.value)) {
    address = siteOf(url->text);
    return true;
  }
  if (const auto* text = std::get_if<std::string>(&reading.value)) {
    address = siteOf(*text);
    return true;
  }
  return false;
}

std::string textOf(const AccessibilityReading& reading, std::string_view otherwise) {
  const auto* text = std::get_if<std::string>(&reading.value);
  return reading.error == AccessibilityError::success && text ? *text : std::string(otherwise);
}

std::optional<Url> documentURL(AccessibilityElement& window) {
  std::optional<Url> address;
  readsAddress(window.copyAttribute(accessibility::document), address);
  return address;
}

std::optional<Url> findWebAreaURL(const AccessibilityElementRef& element, int depth) {
  if (!element || depth > BrowserContext::deepestWebArea) return std::nullopt;
  element->setMessagingTimeout(BrowserContext::messagingTimeout);
  if (textOf(element->copyAttribute(accessibility::role), "") == accessibility::webArea) {
    std::optional<Url> address;
    if (readsAddress(element->copyAttribute(accessibility::url), address)) return address;
  }
  const AccessibilityReading reading = element->copyAttribute(accessibility::children);
  const auto* children = std::get_if<Elements>(&reading.value);
  if (reading.error != AccessibilityError::success || !children) return std::nullopt;
  for (std::size_t at = 0; at < std::min(children->size(), BrowserContext::childrenSearched); ++at) {
    if (auto address = findWebAreaURL((*children)[at], depth + 1)) return address;
  }
  return std::nullopt;
}

}  // namespace

/// How far the look went; what is logged.
struct BrowserContext::Finding {
  std::string_view stage;
  std::string_view route = "none";
  std::optional<std::string> host = {};
};

BrowserContext::BrowserContext(Dependencies dependencies) : dependencies_(std::move(dependencies)) {}

bool BrowserContext::isBrowser(const std::optional<std::string>& bundleIdentifier) const {
  return bundleIdentifier &&
         (std::ranges::find(browserBundleIDs, *bundleIdentifier) != browserBundleIDs.end() ||
          dependencies_.platformBrowsers.contains(*bundleIdentifier));
}

std::optional<std::string> BrowserContext::host(const std::optional<RunningApplication>& application) const {
  if (!application || !isBrowser(application->bundleIdentifier)) return std::nullopt;
  if (!dependencies_.accessibility.isTrusted()) {
    dependencies_.log.info("browser_context", {{"stage", "no_accessibility"}});
    return std::nullopt;
  }
  Finding finding = look(*application);
  dependencies_.log.info(
      "browser_context",
      {{"stage", finding.stage}, {"route", finding.route}, {"app", *application->bundleIdentifier}});
  return std::move(finding.host);
}

BrowserContext::Finding BrowserContext::look(const RunningApplication& application) const {
  const auto element = dependencies_.accessibility.application(application.processIdentifier);
  if (!element) return {.stage = "no_focused_window"};
  element->setMessagingTimeout(messagingTimeout);
  const AccessibilityReading focused = element->copyAttribute(accessibility::focusedWindow);
  const auto* window = std::get_if<AccessibilityElementRef>(&focused.value);
  if (focused.error != AccessibilityError::success || !window || !*window) {
    return {.stage = "no_focused_window"};
  }

  Finding finding{.stage = "no_url"};
  auto address = documentURL(**window);
  if (address) {
    finding.route = "document";
  } else if ((address = findWebAreaURL(*window, 0))) {
    finding.route = "web_area";
  } else {
    if (dependencies_.defaults.value<bool>(debugKey).value_or(false)) dumpTree(*window);
    return finding;
  }

  const std::string scheme = lowercased(address->scheme.value_or(""));
  if (scheme != "http" && scheme != "https") {
    finding.stage = "non_http_scheme";
    return finding;
  }
  finding.host = StyleResolver::normaliseHost(address->host());
  finding.stage = finding.host ? "ok" : "unusable_host";
  return finding;
}

/// Tells why a browser gave no address: roles and structure only, never a title, a value or an address.
void BrowserContext::dumpTree(const AccessibilityElementRef& window) const {
  struct Node {
    AccessibilityElementRef element;
    int depth;
    std::string path;
  };
  std::deque<Node> queue{{window, 0, "win"}};
  int nodes = 0;
  for (; !queue.empty() && nodes < nodesShown; ++nodes) {
    const Node node = std::move(queue.front());
    queue.pop_front();
    node.element->setMessagingTimeout(messagingTimeout);
    const std::string role = textOf(node.element->copyAttribute(accessibility::role), "?");
    const AccessibilityReading reading = node.element->copyAttribute(accessibility::children);
    const auto* listed = std::get_if<Elements>(&reading.value);
    const Elements children = listed ? *listed : Elements();
    const auto names = node.element->attributeNames();
    const auto has = [&](std::string_view name) { return std::ranges::find(names, name) != names.end(); };
    const bool read = reading.error == AccessibilityError::success;
    dependencies_.log.info(
        "browser_context_node",
        {{"path", node.path},
         {"depth", node.depth},
         {"role", role},
         {"children", children.size()},
         {"children_result", read ? "ok" : std::to_string(static_cast<int>(reading.error))},
         {"has_url", has(accessibility::url)},
         {"has_document", has(accessibility::document)}});
    if (node.depth > deepestExpanded) continue;
    for (std::size_t at = 0; at < std::min(children.size(), childrenShown); ++at) {
      if (children[at]) {
        queue.push_back({children[at], node.depth + 1, fmt::format("{}.{}", node.path, at)});
      }
    }
  }
  dependencies_.log.info("browser_context_dump_end", {{"nodes", nodes}, {"truncated", nodes == nodesShown}});
}

}  // namespace pell
