#include "platform/qt/QtFonts.h"

#include <QFontDatabase>
#include <QString>

namespace pell {

bool hasFontFamily(std::string_view family) {
  return QFontDatabase::hasFamily(QString::fromUtf8(family.data(), static_cast<qsizetype>(family.size())));
}

}  // namespace pell
