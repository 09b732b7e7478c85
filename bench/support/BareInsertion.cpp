#include "bench/support/BareInsertion.h"

#include <atspi/atspi.h>

namespace pell::bench {

namespace {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
using Node = std::unique_ptr<AtspiAccessible, Unref>;

bool has(AtspiAccessible* node, AtspiStateType state) {
  const std::unique_ptr<AtspiStateSet, Unref> states(atspi_accessible_get_state_set(node));
  return states && atspi_state_set_contains(states.get(), state);
}

Node below(AtspiAccessible* node, AtspiStateType state) {
  if (has(node, state)) return Node(ATSPI_ACCESSIBLE(g_object_ref(node)));
  const int count = atspi_accessible_get_child_count(node, nullptr);
  for (int at = 0; at < count; ++at) {
    const Node child(atspi_accessible_get_child_at_index(node, at, nullptr));
    if (!child) continue;
    if (auto found = below(child.get(), state)) return found;
  }
  return nullptr;
}

}  // namespace

struct BareInsertion::Tree {
  Node focused() {
    if (!application) return nullptr;
    // What libatspi remembers may be old; whoever inserts has to ask.
    atspi_accessible_clear_cache(application.get());
    const Node window = below(application.get(), ATSPI_STATE_ACTIVE);
    return window ? below(window.get(), ATSPI_STATE_FOCUSED) : nullptr;
  }

  Node application;
  Node last;
};

BareInsertion::BareInsertion(int process) : tree_(std::make_unique<Tree>()) {
  atspi_init();
  const Node desktop(atspi_get_desktop(0));
  const int count = atspi_accessible_get_child_count(desktop.get(), nullptr);
  for (int at = 0; at < count && !tree_->application; ++at) {
    Node child(atspi_accessible_get_child_at_index(desktop.get(), at, nullptr));
    if (child && atspi_accessible_get_process_id(child.get(), nullptr) == static_cast<guint>(process)) {
      tree_->application = std::move(child);
    }
  }
}

BareInsertion::~BareInsertion() = default;

bool BareInsertion::isThere() { return tree_->focused() != nullptr; }

bool BareInsertion::insert(const std::string& text) {
  tree_->last = tree_->focused();
  if (!tree_->last) return false;
  auto* field = ATSPI_TEXT(tree_->last.get());
  const int before = atspi_text_get_character_count(field, nullptr);
  return insertOnly(text) && atspi_text_get_character_count(field, nullptr) > before;
}

bool BareInsertion::insertOnly(const std::string& text) {
  if (!tree_->last) return false;
  return atspi_editable_text_insert_text(ATSPI_EDITABLE_TEXT(tree_->last.get()), 0, text.c_str(),
                                         static_cast<gint>(text.size()), nullptr);
}

}  // namespace pell::bench
