#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pipeline/BrowserContext.h"
#include "stores/Log.h"
#include "support/MemoryPlatform.h"

namespace pell {
namespace {

using namespace pell::testing;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Elements = std::vector<AccessibilityElementRef>;
using Node = std::shared_ptr<MemoryElement>;

/// A browser in front of an in-memory desktop.
struct Browser {
  MemoryPlatform platform;
  Log log{platform.log};
  BrowserContext context{{.accessibility = platform.accessibility,
                          .defaults = platform.defaults,
                          .log = log,
                          .platformBrowsers = {"org.example.Navigator"}}};
  RunningApplication application;
  MemoryApplication* running = nullptr;

  explicit Browser(const std::string& identifier = "com.google.Chrome") { launch(identifier); }

  void launch(const std::string& identifier) {
    running = &platform.desktop.launch({.bundleIdentifier = identifier, .localizedName = "B"});
    application = running->info;
  }
  MemoryElement& window() { return *running->window; }
  std::optional<std::string> host() { return context.host(application); }

  Node node(std::string_view role = "AXGroup") { return platform.desktop.makeElement(role); }
  Node webArea(AccessibilityValue address) {
    Node area = node(accessibility::webArea);
    set(*area, accessibility::url, std::move(address));
    return area;
  }
  static void set(MemoryElement& element, std::string_view attribute, AccessibilityValue value) {
    element.attributes.insert_or_assign(std::string(attribute), std::move(value));
  }
  static void give(MemoryElement& element, Elements children) {
    set(element, accessibility::children, std::move(children));
  }
  /// Puts `leaf` that many steps below the window.
  void bury(Node leaf, int depth) {
    while (--depth > 0) {
      Node parent = node();
      give(*parent, {leaf});
      leaf = parent;
    }
    give(window(), {leaf});
  }
};

TEST(BrowserContextTest, TheSiteIsFoundWithinTheLimits) {
  struct Case {
    std::string name;
    std::function<void(Browser&)> arrange;
    std::string stage;
    std::string route = "none";
    std::string host = "none";
  };
  const AccessibilityValue page = AccessibilityUrl{"https://www.Mail.example.com:8443/inbox?q=1"};
  const auto crowd = [page](std::size_t before) {
    return [page, before](Browser& b) {
      Elements children;
      while (children.size() < before) children.push_back(b.node());
      children.push_back(b.webArea(page));
      Browser::give(b.window(), children);
    };
  };
  const auto document = [](AccessibilityValue value) {
    return [value](Browser& b) { Browser::set(b.window(), accessibility::document, value); };
  };
  const std::vector<Case> cases{
      {"address of the document", document(page), "ok", "document", "mail.example.com"},
      {"as text", document(std::string("HTTP://example.org")), "ok", "document", "example.org"},
      {"a file", document(std::string("file:///home/me/a.html")), "non_http_scheme", "document"},
      {"a blank page", document(std::string("about:blank")), "non_http_scheme", "document"},
      {"no scheme", document(std::string("example.org")), "non_http_scheme", "document"},
      {"a host without a dot", document(std::string("http://router/")), "unusable_host", "document"},
      {"nowhere", [](Browser&) {}, "no_url"},
      {"a document that is no address",
       [page](Browser& b) {
         Browser::set(b.window(), accessibility::document, std::string("my letter.txt"));
         b.bury(b.webArea(page), 3);
       },
       "ok", "web_area", "mail.example.com"},
      {"deepest", [page](Browser& b) { b.bury(b.webArea(page), 12); }, "ok", "web_area", "mail.example.com"},
      {"too deep", [page](Browser& b) { b.bury(b.webArea(page), 13); }, "no_url"},
      {"the 24th child", crowd(23), "ok", "web_area", "mail.example.com"},
      {"the 25th child", crowd(24), "no_url"},
      {"an area without an address holds one that has",
       [page](Browser& b) {
         Node outer = b.node(accessibility::webArea);
         Browser::give(*outer, {b.webArea(page)});
         b.bury(outer, 2);
       },
       "ok", "web_area", "mail.example.com"},
      {"an area whose text is no address hides what it holds",
       [page](Browser& b) {
         Node outer = b.webArea(std::string("not an address"));
         Browser::give(*outer, {b.webArea(page)});
         b.bury(outer, 2);
       },
       "no_url"},
      {"no window",
       [](Browser& b) {
         b.running->element->readErrors.emplace(accessibility::focusedWindow, AccessibilityError::noValue);
       },
       "no_focused_window"},
      {"a browser that hangs",
       [page](Browser& b) {
         Browser::set(b.window(), accessibility::document, page);
         b.running->element->latency = Seconds(2);
       },
       "no_focused_window"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Browser browser;
    c.arrange(browser);
    const Date before = browser.platform.time.now();
    EXPECT_EQ(browser.host().value_or("none"), c.host);
    EXPECT_LE(browser.platform.time.now() - before, BrowserContext::messagingTimeout);
    ASSERT_THAT(browser.platform.log.events(), ElementsAre("INFO browser_context"));
    const auto line = browser.platform.log.lines()[0];
    EXPECT_EQ(line["stage"], c.stage);
    EXPECT_EQ(line["route"], c.route);
    EXPECT_EQ(line["app"], "com.google.Chrome");
    EXPECT_EQ(browser.platform.log.text().find("inbox"), std::string::npos);
  }
}

TEST(BrowserContextTest, TheDocumentSparesTheWalk) {
  Browser browser;
  Browser::set(browser.window(), accessibility::document, std::string("https://example.org"));
  EXPECT_EQ(browser.host(), "example.org");
  EXPECT_THAT(browser.window().reads, Each(std::string(accessibility::document)));
}

TEST(BrowserContextTest, OnlyBrowsersAreAsked) {
  Browser browser("org.example.Editor");
  EXPECT_EQ(browser.host(), std::nullopt);
  EXPECT_EQ(browser.context.host(std::nullopt), std::nullopt);
  EXPECT_FALSE(browser.context.isBrowser(std::nullopt));
  EXPECT_THAT(browser.platform.log.events(), IsEmpty());
  EXPECT_THAT(browser.running->element->reads, IsEmpty());

  browser.launch("org.example.Navigator");  // one that this platform adds
  Browser::set(browser.window(), accessibility::document, std::string("https://example.org"));
  EXPECT_EQ(browser.host(), "example.org");

  browser.platform.log.clear();
  browser.platform.desktop.trusted = false;
  EXPECT_EQ(browser.host(), std::nullopt);
  const auto line = browser.platform.log.lines("browser_context").at(0);
  EXPECT_EQ(line.size(), 3u) << line;
  EXPECT_EQ(line["stage"], "no_accessibility");
}

TEST(BrowserContextTest, TheTreeIsDescribedOnRequestOnly) {
  Browser browser;
  // 1 window, 20 children of which 12 are looked at, each with 12 more.
  Elements children;
  for (int at = 0; at < 20; ++at) {
    Node child = browser.node("AXSecretTitle");
    Elements grandchildren;
    while (grandchildren.size() < 12) grandchildren.push_back(browser.node());
    Browser::give(*child, grandchildren);
    children.push_back(child);
  }
  Browser::give(browser.window(), children);
  children[0]->setMessagingTimeout(Seconds(1));
  browser.host();
  EXPECT_EQ(browser.platform.log.count("browser_context_node"), 0u);

  browser.platform.defaults.set(BrowserContext::debugKey, true);
  browser.host();
  const auto nodes = browser.platform.log.lines("browser_context_node");
  ASSERT_EQ(nodes.size(), 80u);
  EXPECT_EQ(nodes[0]["path"], "win");
  EXPECT_EQ(nodes[0]["children"], 20);
  EXPECT_EQ(nodes[0]["children_result"], "ok");
  EXPECT_EQ(nodes[12]["path"], "win.11");
  EXPECT_EQ(nodes[13]["path"], "win.0.0");
  EXPECT_EQ(nodes[13]["depth"], 2);
  EXPECT_EQ(nodes[13]["children_result"],
            std::to_string(static_cast<int>(AccessibilityError::attributeUnsupported)));
  const auto end = browser.platform.log.lines("browser_context_dump_end").at(0);
  EXPECT_EQ(end["nodes"], 80);
  EXPECT_EQ(end["truncated"], true);

  Browser chain;
  chain.bury(chain.node(), 14);
  chain.platform.defaults.set(BrowserContext::debugKey, true);
  chain.host();
  EXPECT_EQ(chain.platform.log.lines("browser_context_node").back()["depth"], 10);
  EXPECT_EQ(chain.platform.log.lines("browser_context_dump_end").at(0)["truncated"], false);
}

}  // namespace
}  // namespace pell
