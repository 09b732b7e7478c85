// One dictation as the history keeps it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "async/Time.h"

namespace pell {

/// Identified by `id`.
struct DictationRecord {
  /// What became of the text. `none`: it was saved and never delivered.
  enum class Delivery { inserted, pasted, copied, note, failed, none };
  static constexpr std::array allDeliveries{Delivery::inserted, Delivery::pasted, Delivery::copied,
                                            Delivery::note,     Delivery::failed, Delivery::none};

  std::string id;
  std::string text;  // as delivered
  std::int64_t words = 0;
  std::int64_t characters = 0;
  double duration = 0;  // seconds of audio
  Date createdAt{};
  std::optional<std::string> targetBundleID;
  std::optional<std::string> targetApp;
  Delivery delivery = Delivery::none;
  std::optional<std::string> savedNoteID;
  std::optional<std::string> rawText;  // before cleanup
  std::optional<std::string> promptVersionTitle;
  bool operator==(const DictationRecord&) const = default;
};

/// As stored in the table.
std::string_view rawValue(DictationRecord::Delivery delivery);
std::optional<DictationRecord::Delivery> deliveryFromRawValue(std::string_view raw);

/// As shown to the user.
std::string_view label(DictationRecord::Delivery delivery);

/// The dictations of one day, under the day's label.
struct DictationDay {
  std::string id;
  std::string title;
  std::vector<DictationRecord> records;
  bool operator==(const DictationDay&) const = default;
};

}  // namespace pell
