#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "stores/Url.h"

namespace pell {
namespace {

TEST(UrlTest, WhatParsesReadsBackTheSame) {
  for (const std::string text :
       {"https://api.example.com", "http://127.0.0.1:8787/", "http://[::1]:80/a?b=c#d", "HTTP://u:p@h/%20x",
        "localhost:8787", "/api/v1?x=a/b?c", "mailto:a@b", "a/b:c", "#", "?", "x", "http://h:", "http:"}) {
    const auto url = Url::parse(text);
    ASSERT_TRUE(url) << text;
    EXPECT_EQ(url->string(), text);
  }
  for (const std::string text :
       {"", " ", "https://a b", "http://h:80a/", "http://[::1", "http://a]b", "http://h/%2", "http://h/%zz",
        "http://ü.example", "1http://h", ":", "http://h/<", "http://h/\n", "http://a@b@c d/", "/[", "a\\b",
        "http://h/#a#b"}) {
    EXPECT_FALSE(Url::parse(text)) << text;
  }
}

TEST(UrlTest, ReferencesResolveAsTheStandardHasIt) {
  const auto base = *Url::parse("http://a/b/c/d;p?q");
  const std::vector<std::pair<std::string, std::string>> cases{
      {"g:h", "g:h"},
      {"g", "http://a/b/c/g"},
      {"/g", "http://a/g"},
      {"//g", "http://g"},
      {"?y", "http://a/b/c/d;p?y"},
      {"../../../g", "http://a/g"},
      {"./g/.", "http://a/b/c/g/"},
      {"#s", "http://a/b/c/d;p?q#s"},
  };
  for (const auto& [reference, expected] : cases) {
    EXPECT_EQ(base.resolving(*Url::parse(reference)).string(), expected) << reference;
  }
  EXPECT_EQ(Url::parse("http://h:1")->resolving(*Url::parse("api/x?y=1")).string(), "http://h:1/api/x?y=1");
  EXPECT_EQ(Url::parse("https://h/pre/")->resolving(*Url::parse("/api")).string(), "https://h/api");
}

TEST(UrlTest, PlainHttpIsExposedBeyondThisMachine) {
  const std::vector<std::pair<std::string, bool>> cases{
      {"http://127.0.0.1:8787", false},  {"http://127.9.8.7", false},     {"http://localhost", false},
      {"http://LOCALHOST:80", false},    {"http://[::1]:8787", false},    {"http://box.localhost", false},
      {"https://192.168.1.4", false},    {"http://192.168.1.4", true},    {"HTTP://example.com", true},
      {"http://127.evil.example", true}, {"http://127.0.0.1.evil", true}, {"http://localhost@evil", true},
      {"http://127.0.0.1:x@evil", true}, {"http://localhost.evil", true}, {"http://1270.0.0.1", true},
  };
  for (const auto& [text, exposed] : cases) EXPECT_EQ(Url::parse(text)->isExposed(), exposed) << text;
}

}  // namespace
}  // namespace pell
