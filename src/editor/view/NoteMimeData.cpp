#include "editor/view/NoteMimeData.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "editor/RichText.h"
#include "editor/RtfReader.h"
#include "editor/RtfWriter.h"
#include "editor/view/NoteHtml.h"

namespace pell {
namespace {

constexpr auto ownMark = "application/x-pell-note";
constexpr auto plainType = "text/plain";
constexpr auto rtfType = "text/rtf";
// The last is how some office programs call it.
constexpr std::array rtfTypes{rtfType, "application/rtf", "text/richtext"};
// Longer pages would hold up the window; of those the text is taken.
constexpr qsizetype longestHtml = 4'000'000;

AttributedText readRichText(const QMimeData& source) {
  for (const char* type : rtfTypes) {
    const QByteArray rtf = source.data(type);
    const std::string_view bytes(rtf.data(), static_cast<std::size_t>(rtf.size()));
    auto text = source.hasFormat(ownMark) ? readRtf(bytes) : RichText::foreign(bytes);
    if (text && !text->isEmpty()) return *std::move(text);
  }
  if (!source.hasHtml()) return {};
  const QString html = source.html();
  return html.size() <= longestHtml ? NoteHtml::read(html) : AttributedText();
}

}  // namespace

QStringList NoteMimeData::formats() const { return {ownMark, rtfType, plainType}; }

QVariant NoteMimeData::retrieveData(const QString& type, QMetaType) const {
  if (type == QLatin1String(ownMark)) return QByteArray("1");
  if (type == QLatin1String(rtfType)) return QByteArray::fromStdString(writeRtf(text_));
  if (type == QLatin1String(plainType)) return QString::fromStdU16String(text_.text());
  return {};
}

bool NoteMimeData::isFrom(const QObject* origin, const QMimeData& data) {
  const auto* piece = dynamic_cast<const NoteMimeData*>(&data);
  return piece && piece->origin_ == origin;
}

bool NoteMimeData::canRead(const QMimeData& source) {
  if (source.hasText() || source.hasHtml()) return true;
  return std::ranges::any_of(rtfTypes, [&](const char* type) { return source.hasFormat(type); });
}

NoteMimeData::Content NoteMimeData::read(const QMimeData& source) {
  AttributedText styled = readRichText(source);
  if (!styled.isEmpty()) return styled;
  return source.text().toStdU16String();
}

}  // namespace pell
