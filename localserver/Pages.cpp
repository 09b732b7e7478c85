#include "localserver/Pages.h"

#include <fmt/format.h>
#include <string_view>

#include "localserver/Accounts.h"

namespace pell::localserver {
namespace {

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

/// `content` is HTML.
HttpReply page(int status, std::string_view title, const std::string& content) {
  constexpr const char* html = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>{0}</title>
<style>body {{ font: 1.1em sans-serif; max-width: 30em; margin: 4em auto; padding: 0 1em; }}
input, button {{ font: inherit; padding: .4em; }}</style>
</head>
<body>
<h1>{0}</h1>
{1}
</body>
</html>
)";
  return {.status = status,
          .body = fmt::format(html, title, content),
          .headers =
              {{"Content-Security-Policy",
                "default-src 'none'; style-src 'unsafe-inline'; form-action 'self'; frame-ancestors 'none'"},
               {"Referrer-Policy", "no-referrer"},
               {"X-Content-Type-Options", "nosniff"}},
          .contentType = "text/html; charset=utf-8"};
}

HttpReply expiredPage() {
  return page(410, "This link no longer works",
              "<p>It was used already, or it is too old. Ask for a new one in Pell.</p>");
}

std::string tokenOf(const HttpRequest& request) {
  const auto found = request.head.query.find("token");
  return found == request.head.query.end() ? "" : found->second;
}

HttpReply verificationForm(const std::string& token) {
  return page(200, "Confirm your email address",
              fmt::format("<form method=\"post\" action=\"verify-email\">\n"
                          "<input type=\"hidden\" name=\"token\" value=\"{}\">\n"
                          "<button>Confirm</button>\n</form>",
                          escaped(token)));
}

HttpReply passwordForm(int status, const std::string& token, std::string_view complaint) {
  return page(status, "Set a new password",
              fmt::format("<p>{}</p>\n<form method=\"post\" action=\"reset-password\">\n"
                          "<input type=\"hidden\" name=\"token\" value=\"{}\">\n"
                          "<p><label>New password, at least {} characters<br>\n"
                          "<input type=\"password\" name=\"password\" autocomplete=\"new-password\" "
                          "required></label></p>\n<button>Set the password</button>\n</form>",
                          escaped(complaint), escaped(token), Accounts::shortestPassword));
}

HttpReply setPassword(MailedLinks& links, const std::string& token, const std::string& password) {
  try {
    if (!links.resetPassword(token, password)) return expiredPage();
  } catch (const Refusal& refusal) {
    return passwordForm(refusal.error().status, token, refusal.error().message);
  }
  return page(200, "Your password is set", "<p>Sign in with it in Pell, on each of your devices.</p>");
}

}  // namespace

std::vector<Route> pages(MailedLinks& links) {
  const auto askToVerify = [](const Call& call) { return verificationForm(tokenOf(call.request)); };
  const auto verify = [&links](const Call& call) {
    if (!links.verify(requiredString(call.body, "token"))) return expiredPage();
    return page(200, "Your address is confirmed", "<p>You can close this page.</p>");
  };
  const auto askForPassword = [&links](const Call& call) {
    const std::string token = tokenOf(call.request);
    return links.canReset(token) ? passwordForm(200, token, "") : expiredPage();
  };
  const auto reset = [&links](const Call& call) {
    return setPassword(links, requiredString(call.body, "token"), requiredString(call.body, "password"));
  };
  // clang-format off
  std::vector<Route> all = {
      {"GET",  "/verify-email",   Access::open,    BodyKind::none, Effort::quick,    askToVerify},
      {"POST", "/verify-email",   Access::attempt, BodyKind::form, Effort::quick,    verify},
      {"GET",  "/reset-password", Access::open,    BodyKind::none, Effort::quick,    askForPassword},
      {"POST", "/reset-password", Access::attempt, BodyKind::form, Effort::password, reset},
  };
  // clang-format on
  for (Route& route : all) {
    route.refusal = [](const ApiError& error) {
      return page(error.status, "That did not work", fmt::format("<p>{}</p>", escaped(error.message)));
    };
  }
  return all;
}

}  // namespace pell::localserver
