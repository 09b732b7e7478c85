#include "editor/SmartPunctuation.h"

namespace pell {
namespace {

using Substitute = SmartPunctuation::Substitute;

constexpr std::u16string_view openers = u"([{<\u00AB\u2018\u201C-\u2013\u2014/";

/// A quotation begins here: at the start, after white space, or after what itself opens.
bool opens(std::u16string_view before) {
  if (before.empty()) return true;
  const char16_t last = before.back();
  return last <= u' ' || last == u'\u00A0' || last == u'\u2028' || last == u'\u202F' || last == u'\u3000' ||
         (last >= u'\u2000' && last <= u'\u200A') || openers.find(last) != std::u16string_view::npos;
}

std::optional<Substitute> dash(std::u16string_view before) {
  if (!before.ends_with(u'-')) return std::nullopt;
  before.remove_suffix(1);
  // Of a longer row, as people draw lines with, nothing is changed.
  if (before.ends_with(u'-') || before.ends_with(u'\u2014')) return std::nullopt;
  return Substitute{.replaced = 2, .character = u'\u2014'};
}

}  // namespace

std::optional<Substitute> SmartPunctuation::after(std::u16string_view before) {
  if (before.empty()) return std::nullopt;
  const char16_t typed = before.back();
  before.remove_suffix(1);
  switch (typed) {
    case u'"':
      return Substitute{.replaced = 1, .character = opens(before) ? u'\u201C' : u'\u201D'};
    case u'\'':
      return Substitute{.replaced = 1, .character = opens(before) ? u'\u2018' : u'\u2019'};
    case u'-':
      return dash(before);
    default:
      return std::nullopt;
  }
}

}  // namespace pell
