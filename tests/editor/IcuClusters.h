#pragma once

#include <memory>
#include <stdexcept>
#include <string_view>
#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/utext.h>
#include <vector>

namespace pell::testing {

/// The clusters of a text as ICU alone tells them.
inline std::vector<std::string_view> icuClusters(std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<UText, decltype(&utext_close)> view(
      utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status), &utext_close);
  std::unique_ptr<icu::BreakIterator> iterator(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  if (U_SUCCESS(status)) iterator->setText(view.get(), status);
  if (U_FAILURE(status)) throw std::runtime_error("ICU has no boundary rules");
  std::vector<std::string_view> clusters;
  auto begin = static_cast<std::size_t>(iterator->first());
  for (int32_t next = iterator->next(); next != icu::BreakIterator::DONE; next = iterator->next()) {
    const auto end = static_cast<std::size_t>(next);
    clusters.push_back(text.substr(begin, end - begin));
    begin = end;
  }
  return clusters;
}

}  // namespace pell::testing
