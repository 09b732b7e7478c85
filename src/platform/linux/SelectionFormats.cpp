#include "platform/linux/SelectionFormats.h"

#include <algorithm>
#include <array>

namespace pell {

namespace {

constexpr std::string_view utf8String = "UTF8_STRING";
constexpr std::string_view latin1String = "STRING";
constexpr std::string_view passwordManagerHint = "x-kde-passwordManagerHint";

// Text as UTF-8 under any of these names is the same text.
constexpr std::array<std::string_view, 4> utf8Targets{utf8String, "text/plain;charset=utf-8",
                                                      "text/plain;charset=UTF-8", "text/plain"};

bool among(std::string_view name, std::initializer_list<std::string_view> names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool isProtocol(std::string_view target) {
  return among(target, {"TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS", "DELETE", "INSERT_SELECTION",
                        "INSERT_PROPERTY"});
}

bool isPrivateToOwner(std::string_view target) {
  return among(
      target,
      {"PIXMAP",        "DRAWABLE", "BITMAP",      "COLORMAP",    "FOREGROUND",    "BACKGROUND",
       "CLIENT_WINDOW", "CLASS",    "NAME",        "HOST_NAME",   "IP_ADDRESS",    "OWNER_OS",
       "PROCESS",       "TASK",     "USER",        "MODULE",      "PROCEDURE",     "FILE",
       "FILE_NAME",     "LENGTH",   "LIST_LENGTH", "LINE_NUMBER", "COLUMN_NUMBER", "CHARACTER_POSITION",
       "SPAN"});
}

bool isConversionOfText(std::string_view target) {
  return among(target, {"STRING", "TEXT", "COMPOUND_TEXT", "C_STRING"});
}

bool isUtf8Target(std::string_view target) {
  return std::find(utf8Targets.begin(), utf8Targets.end(), target) != utf8Targets.end();
}

std::string utf8FromLatin1(std::string_view latin1) {
  std::string utf8;
  for (unsigned char c : latin1) {
    if (c < 0x80) {
      utf8 += static_cast<char>(c);
    } else {
      utf8 += static_cast<char>(0xC0 | (c >> 6));
      utf8 += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return utf8;
}

// A question mark for each character that Latin-1 lacks.
std::string latin1FromUtf8(std::string_view utf8) {
  std::string latin1;
  for (std::size_t i = 0; i < utf8.size();) {
    auto lead = static_cast<unsigned char>(utf8[i]);
    std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 1) {
      latin1 += utf8[i];
    } else if (length == 2 && lead <= 0xC3 && i + 1 < utf8.size()) {
      latin1 += static_cast<char>(((lead & 0x03) << 6) | (static_cast<unsigned char>(utf8[i + 1]) & 0x3F));
    } else {
      latin1 += '?';
    }
    i += length;
  }
  return latin1;
}

class Offers {
 public:
  explicit Offers(const SelectionKinds& kinds) : kinds_(kinds) {}

  void add(std::string_view target, std::shared_ptr<const std::string> bytes) {
    auto known = kinds_.find(target);
    add(target, known == kinds_.end() ? SelectionKind{.type = std::string(target)} : known->second,
        std::move(bytes));
  }

  void add(std::string_view target, SelectionKind kind, std::shared_ptr<const std::string> bytes) {
    bool taken = std::any_of(offers_.begin(), offers_.end(),
                             [&](const SelectionOffer& offer) { return offer.target == target; });
    if (!taken) {
      offers_.push_back({.target = std::string(target), .kind = std::move(kind), .bytes = std::move(bytes)});
    }
  }

  void addText(const std::string& text) {
    auto bytes = std::make_shared<const std::string>(text);
    for (auto target : utf8Targets) add(target, {.type = std::string(target)}, bytes);
    add("TEXT", {.type = std::string(utf8String)}, bytes);
    add(latin1String, {.type = std::string(latin1String)},
        std::make_shared<const std::string>(latin1FromUtf8(text)));
  }

  std::vector<SelectionOffer> take() { return std::move(offers_); }

 private:
  const SelectionKinds& kinds_;
  std::vector<SelectionOffer> offers_;
};

}  // namespace

std::vector<std::string> targetsToRead(const std::vector<std::string>& offered) {
  bool hasUtf8 = std::find(offered.begin(), offered.end(), utf8String) != offered.end();
  std::vector<std::string> targets;
  for (const auto& target : offered) {
    if (target.empty() || isProtocol(target) || isPrivateToOwner(target)) continue;
    if (hasUtf8 && isConversionOfText(target)) continue;
    if (std::find(targets.begin(), targets.end(), target) == targets.end()) targets.push_back(target);
  }
  return targets;
}

std::string textOf(const SelectionData& data) {
  return data.kind.type == latin1String ? utf8FromLatin1(data.bytes) : data.bytes;
}

PasteboardItem itemFromSelection(const std::vector<SelectionData>& read) {
  const SelectionData* text = nullptr;
  for (auto target : {utf8Targets[0], utf8Targets[1], utf8Targets[2], utf8Targets[3], latin1String}) {
    auto found =
        std::find_if(read.begin(), read.end(), [&](const auto& data) { return data.target == target; });
    if (found != read.end() && !text) text = &*found;
  }
  PasteboardItem item;
  for (const auto& data : read) {
    if (&data == text) {
      item.representations.emplace_back(pasteboardTypeString, textOf(data));
    } else if (text && isUtf8Target(data.target) && data.bytes == text->bytes) {
      continue;
    } else {
      item.representations.emplace_back(data.target, data.bytes);
    }
  }
  return item;
}

std::vector<SelectionOffer> offersOf(const std::vector<PasteboardItem>& items, const SelectionKinds& kinds) {
  Offers offers(kinds);
  const std::string* text = nullptr;
  bool concealed = false;
  for (const auto& item : items) {
    for (const auto& [type, bytes] : item.representations) {
      if (type == pasteboardTypeString) {
        if (!text) text = &bytes;
        continue;
      }
      offers.add(type, std::make_shared<const std::string>(bytes));
      concealed = concealed || type == pasteboardConcealedType;
    }
  }
  if (concealed) offers.add(passwordManagerHint, std::make_shared<const std::string>("secret"));
  // Last, so that a plain text of another content under one of these names keeps its own.
  if (text) offers.addText(*text);
  return offers.take();
}

}  // namespace pell
