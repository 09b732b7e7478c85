// Words against wc -w, characters against ICU alone, the list of notes against the SQLite library alone, the
// choice of a style against the bare look-ups, and the server's cleanup against ICU's search for words.
// One line each: name, ours, the peer's, and how many times faster ours is. Texts in MB/s, lists and cleanup
// in milliseconds, the choice of a style in nanoseconds; medians, taken in turn.
#include <cstdlib>
#include <filesystem>
#include <fmt/core.h>
#include <fstream>
#include <random>
#include <sqlite3.h>
#include <sstream>
#include <string>
#include <string_view>
#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <vector>

#include "bench/support/Duel.h"
#include "bench/support/Prose.h"
#include "editor/TextCounting.h"
#include "localserver/RuleCleaner.h"
#include "platform/linux/StyleSupplement.h"
#include "stores/NotesRepository.h"
#include "styles/StyleResolver.h"
#include "styles/StyleSeeds.h"

namespace {

using namespace pell;
using namespace pell::bench;
namespace fs = std::filesystem;

constexpr std::size_t textSize = 16'000'000;  // bytes; starting wc takes next to nothing beside it
constexpr int noteCount = 10'000;

class FixedClock final : public WallClock {
 public:
  Date now() const override { return dateFromSeconds(1'750'000'000); }
};

std::int64_t countWith(icu::BreakIterator& clusters) {
  std::int64_t count = 0;
  clusters.first();
  while (clusters.next() != icu::BreakIterator::DONE) ++count;
  return count;
}

void compareText(const std::string& language, const std::string& text, const Scratch& scratch) {
  const auto perSecond = [&](double time) { return static_cast<double>(text.size()) / time / 1e6; };
  const fs::path file = scratch.path / (language + ".txt");
  std::ofstream(file, std::ios::binary) << text;
  const std::string command =
      fmt::format("LC_ALL=C.UTF-8 wc -w < {} > {}.words", file.string(), file.string());
  std::int64_t words = 0;
  run({.name = "words-" + language,
       .ours =
           [&] {
             std::ostringstream read;
             read << std::ifstream(file, std::ios::binary).rdbuf();
             words = TextCounting::words(read.view());
           },
       .peer =
           [&] {
             if (std::system(command.c_str()) != 0) std::exit(1);
           },
       .figure = perSecond});
  std::int64_t counted = 0;
  std::ifstream(file.string() + ".words") >> counted;
  same(words, counted);

  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::BreakIterator> clusters(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  UText* bytes = utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status);
  std::int64_t characters = 0;
  const auto ours = [&] { characters = TextCounting::characters(text); };
  run({.name = "characters-" + language + "-icu-utf8",
       .ours = ours,
       .peer =
           [&] {
             clusters->setText(bytes, status);
             same(characters, countWith(*clusters));
           },
       .figure = perSecond});
  // ICU's own encoding, without the time it takes to get there.
  const auto wide = icu::UnicodeString::fromUTF8(text);
  run({.name = "characters-" + language + "-icu-utf16",
       .ours = ours,
       .peer =
           [&] {
             clusters->setText(wide);
             same(characters, countWith(*clusters));
           },
       .figure = perSecond});
  utext_close(bytes);
}

std::int64_t readBare(sqlite3* handle) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(handle,
                     "SELECT id, title, text, created_at, updated_at FROM notes"
                     " ORDER BY created_at DESC, rowid DESC",
                     -1, &statement, nullptr);
  std::int64_t rows = 0;
  std::vector<std::string> kept;
  while (sqlite3_step(statement) == SQLITE_ROW) {
    for (int column = 0; column < 3; ++column) {
      kept.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, column)));
    }
    ++rows;
  }
  sqlite3_finalize(statement);
  return rows;
}

void compareList(const Scratch& scratch) {
  const fs::path file = scratch.path / "notes.db";
  const FixedClock clock;
  NotesRepository notes(file, clock);
  notes.connection().execute("PRAGMA synchronous = OFF; BEGIN");
  const std::string rtf(4000, 'r');
  for (int number = 0; number < noteCount; ++number) {
    std::string text = fmt::format("Note {}{}\n\n", number, number % 10 == 0 ? " 👋🏽" : "");
    text += prose(number % 3 == 0 ? hindi : english, static_cast<std::size_t>(200 + number % 2000));
    notes.create(rtf, std::move(text));
  }
  notes.connection().execute("COMMIT");
  sqlite3* bare = nullptr;
  if (sqlite3_open(file.c_str(), &bare) != SQLITE_OK) std::exit(1);
  run({.name = "list-of-10000-notes",
       .ours = [&] { same(static_cast<std::int64_t>(notes.list().size()), noteCount); },
       .peer = [&] { same(readBare(bare), noteCount); },
       .figure = [](double time) { return time * 1000; }});
  sqlite3_close(bare);
}

StyleResolver::Rules seededRules() {
  StyleResolver::Rules rules{
      .contextAware = true, .useBrowserHost = true, .accountDefault = "basic-cleanup-v1"};
  rules.appRules = StyleSeeds::appStyleRules();
  for (const auto& [id, style] : linuxStyleRules()) rules.appRules.emplace(id, style);
  rules.hostRules = StyleSeeds::hostStyleRules();
  for (const auto& style : localserver::StyleCatalogue::styles()) {
    rules.knownStyleIDs.emplace(style.id);
    if (!style.supersedes.empty()) rules.successors.emplace(style.supersedes, style.id);
  }
  return rules;
}

void compareStyles() {
  constexpr int rounds = 20'000;
  const StyleResolver::Rules rules = seededRules();
  // A site, an application, one without a rule, none at all.
  const std::vector<DictationContext> contexts{{"com.google.Chrome", "mail.google.com"},
                                               {"org.gnome.Terminal", std::nullopt},
                                               {"org.example.Unknown", "example.org"},
                                               DictationContext::none};
  std::int64_t resolved = 0;
  std::int64_t found = 0;
  run({.name = "resolve-style",
       .ours =
           [&] {
             resolved = 0;
             for (int i = 0; i < rounds; ++i) {
               for (const auto& context : contexts) {
                 resolved += StyleResolver::resolve(context, rules).styleID.has_value();
               }
             }
           },
       .peer =
           [&] {
             found = 0;
             for (int i = 0; i < rounds; ++i) {
               for (const auto& context : contexts) {
                 const auto host = rules.hostRules.find(context.browserHost.value_or(""));
                 const auto app = rules.appRules.find(context.bundleID.value_or(""));
                 const std::string& style = host != rules.hostRules.end() ? host->second
                                            : app != rules.appRules.end() ? app->second
                                                                          : *rules.accountDefault;
                 found += rules.knownStyleIDs.contains(style);
               }
             }
           },
       .figure = [&](double time) { return time * 1e9 / (rounds * static_cast<double>(contexts.size())); }});
  same(resolved, found);
}

void compareCleanup() {
  constexpr int wordCount = 10'000;
  const std::vector<std::string_view> spoken{"um",       "comma",         "period",
                                             "new line", "question mark", "bullet point"};
  std::mt19937 random(7);
  std::string text;
  for (int i = 0; i < wordCount; ++i) {
    const auto& list = random() % 12 == 0 ? spoken : random() % 4 == 0 ? hindi : english;
    text += list[random() % list.size()];
    text += ' ';
  }
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::BreakIterator> words(
      icu::BreakIterator::createWordInstance(icu::Locale::getEnglish(), status));
  localserver::RuleCleaner cleaner;
  const std::string language = "multi";
  for (const char* id : {"basic-cleanup-v1", "gmail-email-v2"}) {
    const auto* style = localserver::StyleCatalogue::find(id);
    run({.name = fmt::format("clean-10000-words-{}", id),
         .ours =
             [&] {
               if (cleaner.clean({.style = *style, .text = text, .language = language}).empty()) std::exit(1);
             },
         .peer =
             [&] {
               const auto wide = icu::UnicodeString::fromUTF8(text);
               words->setText(wide);
               if (countWith(*words) == 0) std::exit(1);
             },
         .figure = [](double time) { return time * 1000; }});
  }
}

}  // namespace

int main() {
  const Scratch scratch;
  compareText("english", prose(english, textSize), scratch);
  compareText("hindi", prose(hindi, textSize), scratch);
  compareList(scratch);
  compareStyles();
  compareCleanup();
}
