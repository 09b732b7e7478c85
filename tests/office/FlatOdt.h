#pragma once

#include <QXmlStreamReader>
#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "editor/AttributedText.h"

namespace pell::testing {

/// The text of a flat OpenDocument file, with the attributes that LibreOffice shows it in. The paragraphs'
/// breaks carry their paragraph's style only.
class FlatOdt {
 public:
  explicit FlatOdt(const QByteArray& file) : xml_(file) {
    while (!xml_.atEnd()) {
      xml_.readNext();
      if (xml_.isStartElement()) open(xml_.name().toString().toStdString());
      if (xml_.isEndElement()) close(xml_.name().toString().toStdString());
      if (xml_.isCharacters() && isInParagraph_) put(xml_.text().toString().toStdU16String());
    }
  }

  AttributedText text;

 private:
  using Properties = std::map<std::string, std::string>;

  std::string attribute(const char* name) const {
    for (const auto& found : xml_.attributes()) {
      if (found.qualifiedName() == QString(name)) return found.value().toString().toStdString();
    }
    return {};
  }

  void open(const std::string& name) {
    if (name == "font-face") fontFaces_[attribute("style:name")] = attribute("svg:font-family");
    if (name == "style" || name == "default-style") {
      style_ = &styles_[attribute("style:name")];
      *style_ = styles_[attribute("style:parent-style-name")];
    }
    if (name.ends_with("-properties") && style_) {
      for (const auto& found : xml_.attributes()) {
        (*style_)[found.qualifiedName().toString().toStdString()] = found.value().toString().toStdString();
      }
    }
    if (name == "tab-stop") (*style_)["stops"] += attribute("style:position") + " ";
    if (name == "p" || name == "span" || name == "a") {
      Properties within = name == "p" ? Properties() : open_.back();
      for (const auto& [key, value] : styles_[attribute("text:style-name")]) within[key] = value;
      if (name == "a") within["link"] = attribute("xlink:href");
      open_.push_back(within);
      if (name == "p") isInParagraph_ = true;
    }
    if (name == "tab") put(u"\t");
    if (name == "line-break") put(u"\u2028");
    if (name == "s")
      put(std::u16string(static_cast<std::size_t>(std::max(1, std::atoi(attribute("text:c").c_str()))),
                         u' '));
  }

  void close(const std::string& name) {
    if (name == "style" || name == "default-style") style_ = nullptr;
    if (name == "p") {
      text.append(u"\n", {.paragraphStyle = paragraphStyle(open_.back())});
      isInParagraph_ = false;
    }
    if (name == "p" || name == "span" || name == "a") open_.pop_back();
  }

  void put(std::u16string_view characters) {
    Properties& with = open_.back();
    TextAttributes attributes{.paragraphStyle = paragraphStyle(with)};
    std::string family = fontFaces_[with["style:font-name"]];
    std::erase(family, '\'');
    // Scripts such as Devanagari have a font of their own there, which is to be the same.
    const bool hasDevanagari = std::any_of(characters.begin(), characters.end(),
                                           [](char16_t unit) { return unit >= 0x900 && unit < 0x980; });
    const bool isWhole = !hasDevanagari || (with["fo:font-size"] == with["style:font-size-complex"] &&
                                            with["fo:font-weight"] == with["style:font-weight-complex"] &&
                                            with["fo:font-style"] == with["style:font-style-complex"]);
    attributes.font = Font{.family = family,
                           .size = isWhole ? points(with["fo:font-size"]) : 0,
                           .weight = with["fo:font-weight"] == "bold" ? Font::bold : Font::regular,
                           .italic = with["fo:font-style"] == "italic"};
    attributes.foreground = colour(with["fo:color"]);
    attributes.background = colour(with["fo:background-color"]);
    if (with["style:text-underline-style"] == "solid") attributes.underline = 1;
    if (with["style:text-line-through-style"] == "solid") attributes.strikethrough = 1;
    if (!with["link"].empty()) attributes.link = with["link"];
    text.append(characters, attributes);
  }

  static double points(const std::string& length) {
    static const std::map<std::string, double> units{
        {"in", 72}, {"cm", 72 / 2.54}, {"mm", 7.2 / 2.54}, {"pt", 1}};
    if (length.empty()) return 0;
    const double value = std::atof(length.c_str());
    const auto unit = units.find(length.substr(length.find_last_of("0123456789.") + 1));
    // They are rounded on their way.
    return unit == units.end() ? 0 : std::round(value * unit->second * 10) / 10 + 0.0;
  }

  static std::optional<TextColour> colour(const std::string& value) {
    if (!value.starts_with('#')) return std::nullopt;
    const auto number = static_cast<unsigned>(std::strtoul(value.c_str() + 1, nullptr, 16));
    return Rgb{.red = static_cast<std::uint8_t>(number >> 16U),
               .green = static_cast<std::uint8_t>(number >> 8U & 0xFFU),
               .blue = static_cast<std::uint8_t>(number & 0xFFU)};
  }

  static ParagraphStyle paragraphStyle(Properties& with) {
    constexpr double unitsOfPercent = ParagraphStyle::lineHeightUnit / 100.0;
    const std::string& height = with["fo:line-height"];
    const double head = points(with["fo:margin-left"]);
    ParagraphStyle style{.lineHeight = height.ends_with('%')
                                           ? static_cast<int>(std::atof(height.c_str()) * unitsOfPercent)
                                           : 0,
                         .spacing = points(with["fo:margin-bottom"]),
                         .firstLineIndent = head + points(with["fo:text-indent"]),
                         .headIndent = head,
                         .tailIndent = 0 - points(with["fo:margin-right"])};
    std::istringstream stops(with["stops"]);
    for (std::string stop; stops >> stop;) style.tabStops.push_back(points(stop));
    return style;
  }

  QXmlStreamReader xml_;
  std::map<std::string, std::string> fontFaces_;
  std::map<std::string, Properties> styles_;
  Properties* style_ = nullptr;   // that is being read
  std::vector<Properties> open_;  // of the paragraph and what is open in it
  bool isInParagraph_ = false;
};

}  // namespace pell::testing
