#include <gtest/gtest.h>
#include <map>

#include "localserver/Options.h"

namespace pell::localserver {
namespace {

ParsedCommandLine parse(const std::vector<std::string>& arguments,
                        const std::map<std::string, std::string>& environment = {{"HOME", "/home/ann"}}) {
  return parseCommandLine(arguments, [&](const std::string& name) -> std::optional<std::string> {
    const auto found = environment.find(name);
    return found == environment.end() ? std::nullopt : std::optional(found->second);
  });
}

TEST(Options, EveryOptionArrives) {
  const auto parsed = parse({"--listen=[::1]:9000",
                             "--data",
                             "/srv/pell",
                             "--minutes-per-month",
                             "90",
                             "--auth-attempts-per-minute=0",
                             "--plans",
                             "a:A plan:5,b:B:44640",
                             "--public-url",
                             "https://pell.example.org/",
                             "--mail-from=pell@example.org",
                             "--verify-email",
                             "off",
                             "--behind-proxy",
                             "on",
                             "--transcribe-url",
                             "http://127.0.0.1:1/v1",
                             "--transcribe-model",
                             "small=en",
                             "--transcribe-key-file",
                             "/etc/key",
                             "--clean-url",
                             "http://[::1]:2/v1",
                             "--clean-model",
                             "tidy"});
  const Options expected{
      .host = "::1",
      .port = 9000,
      .data = "/srv/pell",
      .minutesPerMonth = 90,
      .morePlans = {{"a", "A plan", 5}, {"b", "B", 44640}},
      .authAttemptsPerMinute = 0,
      .publicUrl = "https://pell.example.org",
      .mailFrom = "pell@example.org",
      .verifyEmail = false,
      .behindProxy = true,
      .recogniser =
          ServiceAddress{.url = "http://127.0.0.1:1/v1", .model = "small=en", .keyFile = "/etc/key"},
      .cleaner = ServiceAddress{.url = "http://[::1]:2/v1", .model = "tidy", .keyFile = std::nullopt}};
  ASSERT_TRUE(std::holds_alternative<Options>(parsed));
  EXPECT_EQ(std::get<Options>(parsed), expected);
}

TEST(Options, DataGoesWhereTheDesktopWantsIt) {
  const auto place = [](const std::map<std::string, std::string>& environment) {
    return std::get<Options>(parse({}, environment)).data;
  };
  EXPECT_EQ(place({{"XDG_DATA_HOME", "/d"}, {"HOME", "/h"}}), "/d/pell-server");
  EXPECT_EQ(place({{"XDG_DATA_HOME", "relative"}, {"HOME", "/h"}}), "/h/.local/share/pell-server");
  EXPECT_TRUE(std::holds_alternative<UsageError>(parse({}, {})));
}

TEST(Options, EveryWrongLineIsExplainedByTheOptionItIsAbout) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> lines = {
      {{"--nonsense"}, "--nonsense"},
      {{"positional"}, "positional"},
      {{"--listen"}, "--listen"},
      {{"--listen="}, "--listen"},
      {{"--listen", "8787"}, "--listen"},
      {{"--listen", ":8787"}, "--listen"},
      {{"--listen", "::1:8787"}, "IPv6"},
      {{"--listen", "127.0.0.1:65536"}, "--listen"},
      {{"--listen", "127.0.0.1:http"}, "--listen"},
      {{"--data", "/a", "--data", "/b"}, "--data"},
      {{"--minutes-per-month", "0"}, "--minutes-per-month"},
      {{"--minutes-per-month", "12x"}, "--minutes-per-month"},
      {{"--minutes-per-month", "99999999999999999999"}, "--minutes-per-month"},
      {{"--auth-attempts-per-minute", "-1"}, "--auth-attempts-per-minute"},
      {{"--plans", "team:Team:0"}, "--plans"},
      {{"--plans", "team:60"}, "--plans"},
      {{"--public-url", "pell.example.org"}, "--public-url"},
      {{"--mail-from", "a@b\nBcc: c@d"}, "--mail-from"},
      {{"--behind-proxy", "yes"}, "--behind-proxy"},
      {{"--transcribe-url", "ftp://x", "--transcribe-model", "m"}, "--transcribe-url"},
      {{"--transcribe-url", "http://x"}, "--transcribe-model"},
      {{"--transcribe-key-file", "/k"}, "--transcribe-key-file"},
      {{"--clean-url", "http://x"}, "--clean-model"},
      {{"--clean-model", "m"}, "--clean-url"},
      {{"--transcribe-command", "c", "--transcribe-url", "http://x"}, "exclude"},
  };
  for (const auto& [line, told] : lines) {
    const auto parsed = parse(line);
    ASSERT_TRUE(std::holds_alternative<UsageError>(parsed)) << line.front();
    EXPECT_NE(std::get<UsageError>(parsed).message.find(told), std::string::npos)
        << std::get<UsageError>(parsed).message;
  }
}

}  // namespace
}  // namespace pell::localserver
