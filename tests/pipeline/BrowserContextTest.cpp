#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pipeline/BrowserContext.h"
#include "stores/Log.h"
#include "support/MemoryPlatform.h"

namespace pell {
namespace {

using namespace pell::testing;
using ::testing::ElementsAre;
using Node = std::shared_ptr<MemoryElement>;
using Nodes = std::vector<AccessibilityElementRef>;

/// A browser in front of an in-memory desktop.
struct Browser {
  MemoryPlatform desk;
  Log log{desk.log};
  BrowserContext context{{.accessibility = desk.accessibility,
                          .defaults = desk.defaults,
                          .log = log,
                          .platformBrowsers = {"org.example.Navigator"}}};
  MemoryApplication& running;

  explicit Browser(const std::string& identifier = "com.google.Chrome")
      : running(desk.desktop.launch({.bundleIdentifier = identifier})) {}

  std::string host() { return context.host(running.info).value_or("none"); }

  Node node(std::string_view role, Nodes children = {}) {
    Node made = desk.desktop.makeElement(role);
    made->attributes.emplace(accessibility::children, std::move(children));
    return made;
  }
  Node area(AccessibilityValue address, Nodes children = {}) {
    Node made = node(accessibility::webArea, std::move(children));
    made->attributes.emplace(accessibility::url, std::move(address));
    return made;
  }
  void showDocument(AccessibilityValue address) {
    running.window->attributes.emplace(accessibility::document, std::move(address));
  }
  /// Puts `leaf` that many steps below the window, behind `siblings` others.
  void bury(Node leaf, int depth, std::size_t siblings = 0) {
    while (--depth > 0) leaf = node("AXGroup", {leaf});
    Nodes children(siblings);
    for (auto& sibling : children) sibling = node("AXGroup");
    children.push_back(leaf);
    running.window->attributes.insert_or_assign(std::string(accessibility::children), children);
  }
};

const AccessibilityUrl page{"https://www.Mail.example.com:8443/inbox?q[]=a|b#/{c}#d"};

TEST(BrowserContextTest, TheSiteIsFoundWithinTheLimits) {
  struct Case {
    const char* name;
    void (*arrange)(Browser&);
    const char* found;  // stage, route and host
  };
  const std::vector<Case> cases{
      {"document", [](Browser& b) { b.showDocument(page); }, "ok document mail.example.com"},
      {"as text", [](Browser& b) { b.showDocument("HTTP://a.org"); }, "ok document a.org"},
      {"a file", [](Browser& b) { b.showDocument("file:///a.html"); }, "non_http_scheme document none"},
      {"no scheme", [](Browser& b) { b.showDocument("a.org"); }, "non_http_scheme document none"},
      {"no dot", [](Browser& b) { b.showDocument("http://router/"); }, "unusable_host document none"},
      {"nothing", [](Browser&) {}, "no_url none none"},
      {"no address in the document",
       [](Browser& b) {
         b.showDocument("my letter.txt");
         b.bury(b.area(page), 3);
       },
       "ok web_area mail.example.com"},
      {"deepest", [](Browser& b) { b.bury(b.area(page), 12); }, "ok web_area mail.example.com"},
      {"too deep", [](Browser& b) { b.bury(b.area(page), 13); }, "no_url none none"},
      {"24th child", [](Browser& b) { b.bury(b.area(page), 1, 23); }, "ok web_area mail.example.com"},
      {"25th child", [](Browser& b) { b.bury(b.area(page), 1, 24); }, "no_url none none"},
      {"an area without an address", [](Browser& b) { b.bury(b.node("AXWebArea", {b.area(page)}), 2); },
       "ok web_area mail.example.com"},
      {"an area whose text is none", [](Browser& b) { b.bury(b.area("no address", {b.area(page)}), 2); },
       "no_url none none"},
      {"no window", [](Browser& b) { b.running.element->attributes.clear(); }, "no_focused_window none none"},
      {"a browser that hangs", [](Browser& b) { b.running.element->latency = Seconds(2); },
       "no_focused_window none none"}};
  for (const Case& c : cases) {
    Browser browser;
    c.arrange(browser);
    const Date before = browser.desk.time.now();
    const std::string host = browser.host();
    EXPECT_LE(browser.desk.time.now() - before, BrowserContext::messagingTimeout) << c.name;
    ASSERT_THAT(browser.desk.log.events(), ElementsAre("INFO browser_context")) << c.name;
    const auto line = browser.desk.log.lines()[0];
    EXPECT_EQ(line.value("stage", "") + " " + line.value("route", "") + " " + host, c.found) << c.name;
    EXPECT_EQ(line["app"], "com.google.Chrome");
    EXPECT_EQ(browser.desk.log.text().find("inbox"), std::string::npos);
  }
}

TEST(BrowserContextTest, OnlyBrowsersAreAsked) {
  Browser editor("org.example.Editor");
  EXPECT_EQ(editor.host(), "none");
  EXPECT_EQ(editor.context.host(std::nullopt), std::nullopt);
  EXPECT_TRUE(editor.desk.log.events().empty() && editor.running.element->reads.empty());

  Browser own("org.example.Navigator");  // one that this platform adds
  own.showDocument("https://a.org");
  EXPECT_EQ(own.host(), "a.org");
  EXPECT_EQ(own.running.window->reads.size(), 1u) << "the document spares the walk";
  own.desk.desktop.trusted = false;
  EXPECT_EQ(own.host(), "none");
  EXPECT_EQ(own.desk.log.lines().back()["stage"], "no_accessibility");
}

TEST(BrowserContextTest, TheTreeIsDescribedOnRequestOnly) {
  for (const bool wide : {true, false}) {
    Browser browser;
    const Node leaf = browser.node("AXGroup");
    const Node crowd = browser.node("AXGroup", Nodes(20, browser.node("AXGroup", Nodes(12, leaf))));
    browser.bury(wide ? crowd : leaf, wide ? 1 : 14);
    browser.host();
    EXPECT_EQ(browser.desk.log.count("browser_context_node"), 0u);
    browser.desk.defaults.set(BrowserContext::debugKey, true);
    browser.host();
    const auto nodes = browser.desk.log.lines("browser_context_node");
    const auto end = browser.desk.log.lines("browser_context_dump_end").at(0);
    EXPECT_EQ(end["nodes"], nodes.size());
    EXPECT_EQ(nodes.size(), wide ? 80u : 11u);
    EXPECT_EQ(end["truncated"], wide);
    EXPECT_EQ(nodes.back()["path"], wide ? "win.0.5.5" : "win.0.0.0.0.0.0.0.0.0.0");
    EXPECT_EQ(nodes[1]["children"], wide ? 20 : 1);
  }
}

}  // namespace
}  // namespace pell
