#pragma once

#include "localserver/Cleaner.h"

namespace pell::localserver {

/// Cleans by rules, in time that grows with the length of the text alone: fillers out, spoken marks and line
/// breaks set, spacing, capitals and sentence ends mended, and the layout of the style. No other word is ever
/// lost, and a text that is clean stays as it is. English and Hindi; in other languages what was heard is
/// only spaced and capitalised.
class RuleCleaner : public Cleaner {
 public:
  std::string clean(const Draft& draft) override;
};

}  // namespace pell::localserver
