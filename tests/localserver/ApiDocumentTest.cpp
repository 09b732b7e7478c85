// Holds the server to docs/server-api.md: each sentence of it that a program can read is tried.
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "ServerFixture.h"
#include "SoundFile.h"
#include "SourceTree.h"

namespace pell::localserver {
namespace {

using nlohmann::json;

/// A piece of the document under one heading.
struct Section {
  std::string title;
  /// "`key`" to its type and whether it is required.
  std::map<std::string, std::pair<std::string, bool>> keys;
  /// The example of a request.
  std::string body;
  std::string text;
};

std::vector<Section> readDocument() {
  std::ifstream stream(pell::testing::sourceTree() / "docs/server-api.md");
  std::vector<Section> sections(1);
  const std::regex key(R"(\| `([\w.]+)` \| (string|number|integer|boolean|array) \| (yes|no) \|.*)");
  bool inExample = false;
  for (std::string line; std::getline(stream, line);) {
    std::smatch match;
    Section& section = sections.back();
    if (line.starts_with("## ") || line.starts_with("### ")) {
      sections.push_back({.title = line.substr(line.find(' ') + 1)});
    } else if (line.starts_with("```")) {
      inExample = line == "```json";
    } else if (inExample) {
      section.body += line;
    } else if (std::regex_match(line, match, key)) {
      section.keys[match[1]] = {match[2], match[3] == "yes"};
    } else {
      section.text += line + "\n";
    }
  }
  return sections;
}

bool isOf(const std::string& type, const json& value) {
  if (type == "integer") return value.is_number_integer();
  if (type == "number") return value.is_number();
  return value.type_name() == type;
}

/// The leaves of a reply by their path; items of an array of objects share theirs.
void collect(const json& value, const std::string& path, std::multimap<std::string, json>& leaves) {
  const bool records = value.is_array() && !value.empty() && value.front().is_object();
  if (value.is_object()) {
    for (const auto& [key, item] : value.items())
      collect(item, path.empty() ? key : path + "." + key, leaves);
  } else if (records) {
    for (const json& item : value) collect(item, path, leaves);
  } else {
    leaves.emplace(path, value);
  }
}

class ApiDocumentTest : public ServerFixture {
 protected:
  const Section& section(const std::string& title) {
    for (const Section& each : document_) {
      if (each.title.substr(0, each.title.find('?')) == title) return each;
    }
    ADD_FAILURE() << title << " is not in the document";
    return document_.front();
  }

  void expectReply(const Section& where, const json& reply) {
    std::multimap<std::string, json> leaves;
    collect(reply, "", leaves);
    for (const auto& [path, value] : leaves) {
      const auto known = where.keys.find(path);
      if (known == where.keys.end()) {
        ADD_FAILURE() << where.title << " replies with " << path << ", which is not documented";
      } else {
        EXPECT_TRUE(isOf(known->second.first, value)) << where.title << ": " << path << " is " << value;
      }
    }
    for (const auto& [path, what] : where.keys) {
      if (what.second) {
        EXPECT_TRUE(leaves.contains(path)) << where.title << " replies without " << path;
      }
    }
  }

  /// A request as the document describes it, of a user who is signed in.
  Ask asDocumented(const Route& route, const json& session) {
    Ask ask{.method = route.method, .path = route.path};
    if (route.access == Access::signedIn) ask.token = session["accessToken"];
    if (route.body == BodyKind::audio) {
      ask.contentType = "audio/mp4";
      ask.body = mp4File(tone(1));
    } else if (route.body == BodyKind::json) {
      ask.contentType = "application/json";
      ask.body = section(route.method + " " + route.path).body;
      const auto placeholder = ask.body.find("REFRESH_TOKEN");
      if (placeholder != std::string::npos) ask.body.replace(placeholder, 13, session["refreshToken"]);
    } else if (route.body == BodyKind::form) {
      ask.contentType = "application/x-www-form-urlencoded";
      ask.body = "token=x&password=a+long+password";
    }
    return ask;
  }

  const std::vector<Section> document_ = readDocument();
};

TEST_F(ApiDocumentTest, NamesEveryEndpointAndNoOther) {
  start(hello);
  std::multiset<std::string> documented;
  std::multiset<std::string> there;
  const std::regex endpoint(R"(((?:GET|POST|PATCH|DELETE) /[\w/-]+).*)");
  for (const Section& each : document_) {
    std::smatch match;
    if (std::regex_match(each.title, match, endpoint)) documented.insert(match[1]);
  }
  for (const Route& route : server_->routes()) there.insert(route.method + " " + route.path);
  EXPECT_EQ(documented, there);
}

TEST_F(ApiDocumentTest, NamesEveryErrorCodeAndNoOther) {
  using Matches = std::sregex_iterator;
  std::set<std::string> documented;
  const std::regex row(R"(\| ((?:`[A-Z_]+`(?:, )?)+) \| (\d{3}) \|)");
  const std::regex code("[A-Z_]+");
  for (const Section& each : document_) {
    for (Matches match(each.text.begin(), each.text.end(), row); match != Matches(); ++match) {
      const std::string codes = (*match)[1];
      for (Matches one(codes.begin(), codes.end(), code); one != Matches(); ++one) {
        documented.insert((*match)[2].str() + " " + one->str());
      }
    }
  }
  std::set<std::string> there;
  const std::regex thrown(R"re(\b([45]\d\d),\s*(?:\.code = )?"([A-Z_]+)")re");
  for (const auto& entry : std::filesystem::directory_iterator(pell::testing::sourceTree() / "localserver")) {
    std::ifstream stream(entry.path());
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    for (Matches match(text.begin(), text.end(), thrown); match != Matches(); ++match) {
      there.insert((*match)[1].str() + " " + (*match)[2].str());
    }
  }
  EXPECT_EQ(documented, there);
}

TEST_F(ApiDocumentTest, EveryEndpointRepliesAsItSays) {
  std::ofstream(directory_.path() / "app-config.json") << R"({"payload":"p","signature":"s","keyId":"k"})";
  start(hello);
  const std::set<std::string> sessions = {"/api/v1/auth/register", "/api/v1/auth/login",
                                          "/api/v1/auth/refresh"};
  signUp();
  for (const Route& route : server_->routes()) {
    const std::string title = route.method + " " + route.path;
    const bool isPage = !route.path.starts_with("/api/");
    const json session = signIn("correct horse").json();
    const Answer answer = send(server_->port(), asDocumented(route, session));
    if (isPage) {
      EXPECT_EQ(answer.status, route.path == "/verify-email" && route.method == "GET" ? 200 : 410) << title;
      EXPECT_TRUE(answer.headers.at("content-type").starts_with("text/html")) << title;
    } else {
      ASSERT_EQ(answer.status, 200) << title << ": " << answer.body;
      expectReply(section(sessions.contains(route.path) ? "The session record" : title), answer.json());
    }
    const bool saysSignedIn = section(title).text.starts_with("\nSigned in");
    EXPECT_EQ(route.access == Access::signedIn, saysSignedIn) << title;
    if (route.method == "DELETE") signUp();
  }
}

}  // namespace
}  // namespace pell::localserver
