// One dictation's delays, from the key to the text in another program's field, beside the least that a
// program of the same libraries can take and beside what a script of common tools takes. Runs inside a
// desktop.
#include <QApplication>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "bench/support/BareInsertion.h"
#include "bench/support/BarePaste.h"
#include "bench/support/CaptureWatch.h"
#include "bench/support/Figures.h"
#include "bench/support/Road.h"
#include "bench/support/TextField.h"

namespace {

using namespace pell;
using namespace pell::bench;

constexpr int rounds = 30;  // for each length and manner of delivery
constexpr int peerRounds = 10;
constexpr Seconds rest{0.1};  // between two dictations: what the last one left to be done is done in it

struct Text {
  std::string utf8;
  int characters = 0;
};

/// Different each time, so that nothing can be left from the last one.
Text dictated(int words, int number) {
  static constexpr std::array vocabulary{"harvest", "größer", "naïve", "शब्द", "日本語", "🌾", "and", "then"};
  Text text{.utf8 = fmt::format("Number {}", number)};
  for (int word = 2; word < words; ++word) {
    text.utf8 += ' ';
    text.utf8 += vocabulary[static_cast<std::size_t>(word * 31 + number) % vocabulary.size()];
  }
  for (const char byte : text.utf8) text.characters += (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
  return text;
}

class Bench {
 public:
  struct Parts {
    Road& road;
    TextField& field;
    CaptureWatch& watch;
  };
  explicit Bench(Parts parts)
      : road_(parts.road), field_(parts.field), watch_(parts.watch), insertion_(field_.process()) {}

  bool isReady() { return insertion_.isThere(); }

  void run() {
    deliver(InjectionMode::automatic, "accessibility", "<= 3");
    deliver(InjectionMode::paste, "paste", "<= 2");
    peers();
    printBound("begin to recording", toRecording_, "goal: 95% < 20");
    printDuel("begin to first sound", toSound_, bareSound_, "<= 1.2");
    printBound("stop to bytes in memory", toBytes_, "goal: 95% < 25");
    printBound("reply to row in the history", toRow_, "");
    fmt::print("{:<34}{:>10} of {} exact\n", "texts in the field", exact_, dictations_);
  }

 private:
  void deliver(InjectionMode mode, const std::string& name, const char* goal) {
    road_.setMode(mode);
    for (const int words : {30, 500, 5000}) {
      Samples ours, floor, call;
      for (int round = 0; round < rounds; ++round) {
        ++dictations_;
        if (auto time = dictate(dictated(words, ++number_))) ours.add(*time);
        const Text text = dictated(words, ++number_);
        auto bare = mode == InjectionMode::paste ? placed(text, [&] { paste_.paste(text.utf8); })
                                                 : placed(text, [&] { insertion_.insert(text.utf8); });
        if (bare) floor.add(*bare);
        if (mode == InjectionMode::automatic) {
          auto alone = placed(text, [&] { insertion_.insertOnly(text.utf8); });
          if (alone) call.add(*alone);
        }
        if (auto time = bareCapture(watch_)) bareSound_.add(*time);
      }
      printDuel(fmt::format("reply to text, {}, {} words", name, words), ours, floor, goal);
      if (call.count() > 0) printDuel("  beside the one call, field known", ours, call, "");
      if (mode == InjectionMode::paste) pasted_.push_back({words, ours});
    }
  }

  /// A whole dictation. The milliseconds from the reply to the text in the field; absent if it went wrong.
  std::optional<double> dictate(const Text& text) {
    field_.clear();
    paste_.copy("what the user has on the clipboard");
    road_.runFor(rest);
    if (!record()) {
      road_.cancel();
      return std::nullopt;
    }
    road_.runFor(rest / 4);
    const Instant replied = road_.server().reply(text.utf8);
    road_.waitUntil([&] { return !road_.isIn<phase::Transcribing>(); });
    const auto filled = field_.filled(text.characters);
    if (field_.text() == text.utf8) ++exact_;
    if (road_.written()) toRow_.add(millisecondsBetween(replied, *road_.written()));
    return filled ? std::optional(millisecondsBetween(replied, *filled)) : std::nullopt;
  }

  /// From the key's event until the server has been asked; false if it does not come to that.
  bool record() {
    watch_.rearm();
    const Instant begin = now();
    road_.begin();
    if (!road_.isIn<phase::Recording>()) return false;
    toRecording_.add(millisecondsBetween(begin, road_.phaseSince()));
    if (!road_.waitUntil([&] { return watch_.firstBuffer().has_value(); })) return false;
    toSound_.add(millisecondsBetween(begin, *watch_.firstBuffer()));
    road_.runFor(rest);
    const Instant end = now();
    road_.end();
    if (!road_.isIn<phase::Transcribing>()) return false;
    toBytes_.add(millisecondsBetween(end, road_.phaseSince()));
    return road_.waitUntil([&] { return road_.server().isAsked(); });
  }

  std::optional<double> placed(const Text& text, const std::function<void()>& place) {
    field_.clear();
    road_.runFor(rest / 4);
    const Instant start = now();
    place();
    const auto filled = field_.filled(text.characters);
    return filled ? std::optional(millisecondsBetween(start, *filled)) : std::nullopt;
  }

  void peers() {
    for (const auto& [words, ours] : pasted_) {
      Samples scripted;
      for (int round = 0; round < peerRounds; ++round) {
        const Text text = dictated(words, ++number_);
        auto time = placed(text, [&] {
          FILE* copy = popen("xclip -selection clipboard >/dev/null 2>&1", "w");
          std::fputs(text.utf8.c_str(), copy);
          pclose(copy);
          if (std::system("xdotool key ctrl+v") != 0) fmt::print("no xdotool\n");
        });
        if (time) scripted.add(*time);
      }
      printDuel(fmt::format("  beside xclip and xdotool, {}", words), ours, scripted, "");
    }
    paste_.copy("");  // ends the last xclip
  }

  Road& road_;
  TextField& field_;
  CaptureWatch& watch_;
  BareInsertion insertion_;
  BarePaste paste_;
  Samples toRecording_, toSound_, bareSound_, toBytes_, toRow_;
  std::vector<std::pair<int, Samples>> pasted_;
  int number_ = 0;
  int dictations_ = 0;
  int exact_ = 0;
};

int fail(const std::string& reason) {
  fmt::print("the road cannot be measured: {}\n", reason);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (!runtime || !std::getenv("PELL_PRIVATE_DESKTOP")) return fail("run it by tests/desktop/session");
  // The log is written, as it costs time too, and shown to nobody.
  if (!std::freopen((std::string(runtime) + "/road.log").c_str(), "w", stderr)) return fail("no log");
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  CaptureWatch watch;  // before the first capture is made ready
  Essentials essentials;
  auto opening = LinuxPlatform::open(essentials);
  if (auto* unavailable = std::get_if<LinuxPlatform::Unavailable>(&opening)) return fail(unavailable->reason);
  Road road(std::move(std::get<std::unique_ptr<LinuxPlatform>>(opening)), essentials);
  if (!road.open()) return fail("no accessibility, or no keyring");
  TextField field;
  road.runFor(Seconds(1.5));
  Bench bench({.road = road, .field = field, .watch = watch});
  if (!bench.isReady()) return fail("the text field is not on the accessibility bus");
  printHeader("ms");
  bench.run();
  return 0;
}
