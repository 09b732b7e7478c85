#include "pipeline/PanelPolicy.h"

namespace pell {

PanelPresentation PanelPolicy::presentation(const PanelContext& c) {
  using enum PanelPresentation;
  if (!c.floatingPanelEnabled) return hidden;
  // The notes have a bar of their own that tells the same.
  if (!c.isIdle) return c.pellIsActive && c.screenIsReady && c.sectionIsNotes ? hidden : expanded;
  if (c.hasCoaching) return expanded;
  return c.dictationBarEnabled && c.screenIsReady && !c.pellIsActive ? collapsed : hidden;
}

}  // namespace pell
