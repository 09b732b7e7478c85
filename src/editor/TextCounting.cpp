#include "editor/TextCounting.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/utext.h>

namespace pell {

std::size_t TextCounting::characters(std::string_view utf8) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<UText, decltype(&utext_close)> text(
      utext_openUTF8(nullptr, utf8.data(), static_cast<std::int64_t>(utf8.size()), &status), &utext_close);
  std::unique_ptr<icu::BreakIterator> clusters(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  if (U_SUCCESS(status)) clusters->setText(text.get(), status);
  if (U_FAILURE(status)) throw std::runtime_error("The text boundary rules of ICU are missing.");

  std::size_t count = 0;
  clusters->first();
  while (clusters->next() != icu::BreakIterator::DONE) ++count;
  return count;
}

}  // namespace pell
