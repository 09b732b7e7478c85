// The whole history, as a file that other programs read.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "stores/DictationRecord.h"

namespace pell {

enum class ExportFormat : std::uint8_t { json, csv };

/// Writes record after record, so that a history of any length takes little memory. `begin`, then `record`
/// for each, then `end`; each gives the next piece of the file, in UTF-8.
///
/// JSON is an array of the objects that `historyJson` gives, one a line. CSV follows RFC 4180: a header
/// line, CR LF, and quotes where a field needs them; an absent value is an empty field.
class HistoryExport {
 public:
  explicit HistoryExport(ExportFormat format) : format_(format) {}

  std::string begin() const;
  std::string record(const DictationRecord& record);
  std::string end() const;

 private:
  ExportFormat format_;
  bool isFirst_ = true;
};

}  // namespace pell
