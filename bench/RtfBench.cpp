// RTF to text against unrtf, text to RTF against Qt's HTML of the same document, each of about 5 MB.
// One line each as in the other benchmarks, in MB of the RTF's or the text's bytes a second. Then what a byte
// costs, in nanoseconds, in a note of 5 MB and in one of 100 KB, and how much memory reading takes, in bytes
// for each of the file: at its height, and kept. Every text read is the one that was written, or the program
// fails.
#include <QGuiApplication>
#include <QTextCursor>
#include <QTextDocument>
#include <algorithm>
#include <fmt/core.h>
#include <fstream>
#include <malloc.h>
#include <new>
#include <random>
#include <string>

#include "bench/support/Duel.h"
#include "bench/support/Prose.h"
#include "editor/RichText.h"
#include "editor/RtfReader.h"
#include "editor/RtfWriter.h"
#include "editor/Utf16.h"

namespace {

using namespace pell;
using namespace pell::bench;

std::size_t memory = 0;
std::size_t memoryAtHeight = 0;

}  // namespace

void* operator new(std::size_t size) {
  void* memoryGot = std::malloc(size);
  if (!memoryGot) throw std::bad_alloc();
  memory += malloc_usable_size(memoryGot);
  memoryAtHeight = std::max(memoryAtHeight, memory);
  return memoryGot;
}
void operator delete(void* given) noexcept {
  memory -= malloc_usable_size(given);
  std::free(given);
}
void operator delete(void* given, std::size_t /*size*/) noexcept { operator delete(given); }

namespace {

/// Paragraphs, headings, lists and quotes with some words set apart, in English and a little Hindi.
AttributedText note(std::size_t size) {
  std::mt19937 random(7);
  AttributedText text;
  while (text.length() < size) {
    TextAttributes body = RichText::bodyAttributes();
    if (random() % 6 == 0) body.paragraphStyle = RichText::listParagraphStyle();
    if (random() % 12 == 0) body.paragraphStyle = RichText::quoteParagraphStyle();
    if (body.paragraphStyle == RichText::listParagraphStyle()) text.append(RichText::bulletMarker, body);
    if (random() % 20 == 0) body.font->size = 22;
    for (unsigned stretch = 1 + random() % 4; stretch > 0; --stretch) {
      TextAttributes attributes = body;
      if (random() % 8 == 0) attributes.font->weight = Font::bold;
      if (random() % 16 == 0) attributes.font->italic = true;
      if (random() % 30 == 0) attributes.underline = 1;
      if (random() % 30 == 0) attributes.link = "https://example.org/" + std::to_string(random() % 100);
      for (unsigned word = 1 + random() % 30; word > 0; --word) {
        const auto& words = random() % 50 == 0 ? hindi : english;
        text.append(utf16Of(std::string(words[random() % words.size()]) + ' '), attributes);
      }
    }
    text.append(u"\n", body);
  }
  return text;
}

void fill(QTextDocument& document, const AttributedText& text) {
  QTextCursor cursor(&document);
  cursor.beginEditBlock();
  text.forEachRun({.length = text.length()}, [&](const AttributedText::Run& run) {
    QTextCharFormat format;
    format.setFontFamilies({QString::fromStdString(run.attributes.font->family)});
    format.setFontPointSize(run.attributes.font->size);
    format.setFontWeight(run.attributes.font->weight);
    format.setFontItalic(run.attributes.font->italic);
    format.setFontUnderline(run.attributes.underline.has_value());
    format.setForeground(QColor(31, 27, 22));
    if (run.attributes.link) format.setAnchorHref(QString::fromStdString(*run.attributes.link));
    cursor.insertText(QString::fromStdU16String(text.text(run.range)), format);
  });
  cursor.endEditBlock();
}

void mustBe(const AttributedText& text, const std::optional<AttributedText>& read) {
  same(1, read && *read == text ? 1 : 0);
}

/// Both ways, beside the peers.
void compare(const AttributedText& text, const Scratch& scratch) {
  const std::string rtf = writeRtf(text);
  mustBe(text, readRtf(rtf));
  const auto file = scratch.path / "note.rtf";
  std::ofstream(file, std::ios::binary) << rtf;
  const std::string command =
      fmt::format("unrtf --text {} > {}.txt 2> /dev/null", file.string(), file.string());
  const auto perSecond = [](std::size_t bytes) {
    return [bytes](double time) { return static_cast<double>(bytes) / time / 1e6; };
  };
  std::string bytes;
  run({.name = "rtf-to-text",
       .ours =
           [&] {
             std::ifstream opened(file, std::ios::binary);
             bytes.resize(rtf.size());
             opened.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
             same(static_cast<std::int64_t>(text.length()),
                  static_cast<std::int64_t>(readRtf(bytes)->length()));
           },
       .peer =
           [&] {
             if (std::system(command.c_str()) != 0) std::exit(1);
           },
       .figure = perSecond(rtf.size())});

  QTextDocument document;
  document.setUndoRedoEnabled(false);
  fill(document, text);
  run({.name = "text-to-rtf",
       .ours =
           [&] {
             same(static_cast<std::int64_t>(rtf.size()), static_cast<std::int64_t>(writeRtf(text).size()));
           },
       .peer =
           [&] {
             if (document.toHtml().isEmpty()) std::exit(1);
           },
       .figure = perSecond(text.utf8().size())});
}

/// Nanoseconds for each byte of the RTF, over about 10 MB of them: the best of nine, which others on the
/// machine disturbed least.
double costOfByte(const std::string& rtf, const std::function<void()>& work) {
  const std::size_t rounds = std::max<std::size_t>(1, 10'000'000 / rtf.size());
  std::vector<double> times;
  for (int turn = 0; turn < 9; ++turn) {
    times.push_back(seconds([&] {
      for (std::size_t round = 0; round < rounds; ++round) work();
    }));
  }
  return *std::min_element(times.begin(), times.end()) * 1e9 / static_cast<double>(rounds * rtf.size());
}

void scale(const AttributedText& large) {
  const AttributedText small = note(100'000);
  const std::string largeRtf = writeRtf(large);
  const std::string smallRtf = writeRtf(small);
  const auto print = [](const char* name, double ofLarge, double ofSmall) {
    fmt::print("{} {:.2f} {:.2f} {:.2f}\n", name, ofLarge, ofSmall, ofSmall / ofLarge);
  };
  print("rtf-to-text-a-byte-of-5mb-and-100kb", costOfByte(largeRtf, [&] { readRtf(largeRtf); }),
        costOfByte(smallRtf, [&] { readRtf(smallRtf); }));
  std::string written;  // as a note is written while it is edited
  print("text-to-rtf-a-byte-of-5mb-and-100kb", costOfByte(largeRtf, [&] { writeRtf(large, written); }),
        costOfByte(smallRtf, [&] { writeRtf(small, written); }));

  const std::size_t before = memory;
  memoryAtHeight = memory;
  const auto read = readRtf(largeRtf);
  mustBe(large, read);
  const auto ofFile = [&](std::size_t bytes) {
    return static_cast<double>(bytes - before) / static_cast<double>(largeRtf.size());
  };
  print("rtf-to-text-memory-at-height-and-kept", ofFile(memoryAtHeight), ofFile(memory));
}

}  // namespace

int main(int count, char** arguments) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QGuiApplication application(count, arguments);
  const Scratch scratch;
  const AttributedText text = note(4'000'000);
  compare(text, scratch);
  scale(text);
}
