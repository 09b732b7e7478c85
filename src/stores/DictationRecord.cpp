#include "stores/DictationRecord.h"

namespace pell {
namespace {

struct Names {
  std::string_view raw;
  std::string_view label;
};

// In the order of the enumerators.
constexpr std::array<Names, 6> names{{{"inserted", "Typed"},
                                      {"pasted", "Pasted"},
                                      {"copied", "Copied"},
                                      {"note", "Added to note"},
                                      {"failed", "Not delivered"},
                                      {"none", "Saved only"}}};

const Names& namesOf(DictationRecord::Delivery delivery) { return names[static_cast<std::size_t>(delivery)]; }

}  // namespace

std::string_view rawValue(DictationRecord::Delivery delivery) { return namesOf(delivery).raw; }

std::optional<DictationRecord::Delivery> deliveryFromRawValue(std::string_view raw) {
  for (auto delivery : DictationRecord::allDeliveries) {
    if (rawValue(delivery) == raw) return delivery;
  }
  return std::nullopt;
}

std::string_view label(DictationRecord::Delivery delivery) { return namesOf(delivery).label; }

}  // namespace pell
