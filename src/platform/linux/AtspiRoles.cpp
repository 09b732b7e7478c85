#include "platform/linux/AtspiRoles.h"

namespace pell {
namespace {

std::string_view roleOfText(std::uint32_t role, AtspiStates states) {
  switch (role) {
    case ATSPI_ROLE_TEXT:
    case ATSPI_ROLE_ENTRY:
    case ATSPI_ROLE_EDITBAR:
    case ATSPI_ROLE_AUTOCOMPLETE:
    case ATSPI_ROLE_SPIN_BUTTON:
    case ATSPI_ROLE_DATE_EDITOR:
      return states.has(ATSPI_STATE_MULTI_LINE) ? accessibility::textArea : accessibility::textField;
    case ATSPI_ROLE_TERMINAL:
    case ATSPI_ROLE_DOCUMENT_TEXT:
      return accessibility::textArea;
    case ATSPI_ROLE_SECTION:
    case ATSPI_ROLE_PARAGRAPH:
      return states.has(ATSPI_STATE_EDITABLE) ? accessibility::textArea : std::string_view("AXGroup");
    default:
      return {};
  }
}

std::string_view roleOfControl(std::uint32_t role) {
  switch (role) {
    case ATSPI_ROLE_COMBO_BOX:
      return "AXComboBox";
    case ATSPI_ROLE_PUSH_BUTTON:
    case ATSPI_ROLE_TOGGLE_BUTTON:
      return "AXButton";
    case ATSPI_ROLE_CHECK_BOX:
      return "AXCheckBox";
    case ATSPI_ROLE_RADIO_BUTTON:
      return "AXRadioButton";
    case ATSPI_ROLE_LINK:
      return "AXLink";
    case ATSPI_ROLE_LABEL:
    case ATSPI_ROLE_STATIC:
      return "AXStaticText";
    case ATSPI_ROLE_IMAGE:
    case ATSPI_ROLE_ICON:
      return "AXImage";
    case ATSPI_ROLE_LIST:
    case ATSPI_ROLE_LIST_BOX:
      return "AXList";
    case ATSPI_ROLE_TABLE:
    case ATSPI_ROLE_TREE_TABLE:
      return "AXTable";
    case ATSPI_ROLE_TABLE_CELL:
      return "AXCell";
    case ATSPI_ROLE_TREE:
      return "AXOutline";
    case ATSPI_ROLE_MENU_BAR:
      return "AXMenuBar";
    case ATSPI_ROLE_MENU:
    case ATSPI_ROLE_POPUP_MENU:
      return "AXMenu";
    case ATSPI_ROLE_MENU_ITEM:
      return "AXMenuItem";
    case ATSPI_ROLE_TOOL_BAR:
      return "AXToolbar";
    case ATSPI_ROLE_SCROLL_PANE:
      return "AXScrollArea";
    case ATSPI_ROLE_SLIDER:
      return "AXSlider";
    default:
      return {};
  }
}

}  // namespace

bool isWindowRole(std::uint32_t role) {
  return role == ATSPI_ROLE_FRAME || role == ATSPI_ROLE_WINDOW || role == ATSPI_ROLE_DIALOG ||
         role == ATSPI_ROLE_FILE_CHOOSER || role == ATSPI_ROLE_ALERT;
}

std::string_view accessibilityRole(std::uint32_t role, AtspiStates states) {
  if (role == ATSPI_ROLE_PASSWORD_TEXT) return accessibility::textField;
  if (role == ATSPI_ROLE_DOCUMENT_WEB || role == ATSPI_ROLE_DOCUMENT_FRAME) return accessibility::webArea;
  if (role == ATSPI_ROLE_APPLICATION) return "AXApplication";
  if (isWindowRole(role)) return "AXWindow";
  if (auto text = roleOfText(role, states); !text.empty()) return text;
  if (auto control = roleOfControl(role); !control.empty()) return control;
  return role == ATSPI_ROLE_INVALID || role == ATSPI_ROLE_UNKNOWN ? "AXUnknown" : "AXGroup";
}

}  // namespace pell
