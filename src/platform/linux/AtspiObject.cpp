#include "platform/linux/AtspiObject.h"

#include <utility>

namespace pell {
namespace {

constexpr const char* accessibleInterface = "org.a11y.atspi.Accessible";
constexpr const char* textInterface = "org.a11y.atspi.Text";
constexpr const char* editableInterface = "org.a11y.atspi.EditableText";
constexpr const char* documentInterface = "org.a11y.atspi.Document";
constexpr const char* nullPath = "/org/a11y/atspi/null";

AtspiAnswer<bool> boolOf(const AtspiReply& reply) {
  if (!reply.value) return {reply.error, false};
  gboolean done = FALSE;
  g_variant_get(reply.value.get(), "(b)", &done);
  return {AccessibilityError::success, done != FALSE};
}

/// The value inside a reply `(v)`, if it has the type that it should have.
GLibPtr<GVariant> unboxed(const AtspiReply& reply, const char* type) {
  if (!reply.value) return nullptr;
  GVariant* inner = nullptr;
  g_variant_get(reply.value.get(), "(v)", &inner);
  GLibPtr<GVariant> value(inner);
  if (!g_variant_is_of_type(inner, G_VARIANT_TYPE(type))) return nullptr;
  return value;
}

AccessibilityError errorOr(const AtspiReply& reply, AccessibilityError other) {
  return reply.value ? other : reply.error;
}

AtspiAnswer<int> numberOf(const AtspiReply& reply) {
  auto value = unboxed(reply, "i");
  if (!value) return {errorOr(reply, AccessibilityError::attributeUnsupported), 0};
  return {AccessibilityError::success, g_variant_get_int32(value.get())};
}

AtspiAnswer<std::uint32_t> roleOf(const AtspiReply& reply) {
  if (!reply.value) return {reply.error, 0};
  guint32 role = 0;
  g_variant_get(reply.value.get(), "(u)", &role);
  return {AccessibilityError::success, role};
}

AtspiAnswer<AtspiInterfaces> interfacesOf(const AtspiReply& reply) {
  if (!reply.value) return {reply.error, {}};
  AtspiInterfaces found;
  GLibPtr<GVariant> names(g_variant_get_child_value(reply.value.get(), 0));
  GVariantIter iter;
  g_variant_iter_init(&iter, names.get());
  const char* name = nullptr;
  while (g_variant_iter_next(&iter, "&s", &name)) {
    found.text |= std::string_view(name) == textInterface;
    found.editableText |= std::string_view(name) == editableInterface;
    found.document |= std::string_view(name) == documentInterface;
  }
  return {AccessibilityError::success, found};
}

std::vector<AtspiAddress> addressesIn(GVariant* list) {
  std::vector<AtspiAddress> addresses;
  GVariantIter iter;
  g_variant_iter_init(&iter, list);
  const char* bus = nullptr;
  const char* path = nullptr;
  while (g_variant_iter_next(&iter, "(&s&o)", &bus, &path)) {
    if (std::string_view(path) != nullPath) addresses.push_back({bus, path});
  }
  return addresses;
}

}  // namespace

AtspiCall AtspiObject::makeCall(const char* interface, const char* method, GVariant* arguments,
                                const char* replyType) const {
  AtspiCall call;
  call.target = address_;
  call.interface = interface;
  call.method = method;
  call.arguments = sinkVariant(arguments);
  call.replyType = replyType;
  return call;
}

AtspiReply AtspiObject::ask(const char* interface, const char* method, GVariant* arguments,
                            const char* replyType) const {
  return bus_->call(makeCall(interface, method, arguments, replyType), deadline_);
}

AtspiCall AtspiObject::propertyCall(const char* interface, const char* name) const {
  return makeCall("org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", interface, name), "(v)");
}

AtspiReply AtspiObject::property(const char* interface, const char* name) const {
  return bus_->call(propertyCall(interface, name), deadline_);
}

AtspiAnswer<int> AtspiObject::textProperty(const char* name) const {
  return numberOf(property(textInterface, name));
}

AtspiAnswer<std::uint32_t> AtspiObject::role() const { return roleOf(bus_->call(roleCall(), deadline_)); }

AtspiCall AtspiObject::roleCall() const { return makeCall(accessibleInterface, "GetRole", nullptr, "(u)"); }

AtspiCall AtspiObject::statesCall() const {
  return makeCall(accessibleInterface, "GetState", nullptr, "(au)");
}

AtspiCall AtspiObject::childrenCall() const {
  return makeCall(accessibleInterface, "GetChildren", nullptr, "(a(so))");
}

AtspiCall AtspiObject::attributesCall() const {
  return makeCall(accessibleInterface, "GetAttributes", nullptr, "(a{ss})");
}

AtspiAnswer<AtspiStates> AtspiObject::statesOf(const AtspiReply& reply) {
  if (!reply.value) return {reply.error, {}};
  GLibPtr<GVariant> words(g_variant_get_child_value(reply.value.get(), 0));
  std::uint64_t bits = 0;
  for (gsize i = 0; i < g_variant_n_children(words.get()) && i < 2; ++i) {
    guint32 word = 0;
    g_variant_get_child(words.get(), i, "u", &word);
    bits |= std::uint64_t{word} << (32 * i);
  }
  return {AccessibilityError::success, AtspiStates(bits)};
}

AtspiAnswer<std::vector<AtspiAddress>> AtspiObject::addressesOf(const AtspiReply& reply) {
  if (!reply.value) return {reply.error, {}};
  GLibPtr<GVariant> list(g_variant_get_child_value(reply.value.get(), 0));
  return {AccessibilityError::success, addressesIn(list.get())};
}

AtspiAnswer<AtspiStates> AtspiObject::states() const { return statesOf(bus_->call(statesCall(), deadline_)); }

AtspiAnswer<std::vector<AtspiAddress>> AtspiObject::children() const {
  return addressesOf(bus_->call(childrenCall(), deadline_));
}

AtspiAnswer<AtspiInterfaces> AtspiObject::interfaces() const {
  return interfacesOf(ask(accessibleInterface, "GetInterfaces", nullptr, "(as)"));
}

AtspiAnswer<AtspiNature> AtspiObject::nature() const {
  std::vector<AtspiCall> calls;
  calls.push_back(roleCall());
  calls.push_back(statesCall());
  calls.push_back(makeCall(accessibleInterface, "GetInterfaces", nullptr, "(as)"));
  auto replies = bus_->callAll(std::move(calls), deadline_);
  auto role = roleOf(replies[0]);
  auto states = statesOf(replies[1]);
  auto interfaces = interfacesOf(replies[2]);
  AtspiAnswer<AtspiNature> answer{role.error, {role.value, states.value, interfaces.value}};
  if (answer) answer.error = states ? interfaces.error : states.error;
  return answer;
}

AtspiAnswer<AtspiAddress> AtspiObject::parent() const {
  auto reply = property(accessibleInterface, "Parent");
  auto value = unboxed(reply, "(so)");
  if (!value) return {errorOr(reply, AccessibilityError::noValue), {}};
  const char* bus = nullptr;
  const char* path = nullptr;
  g_variant_get(value.get(), "(&s&o)", &bus, &path);
  if (std::string_view(path) == nullPath) return {AccessibilityError::noValue, {}};
  return {AccessibilityError::success, {bus, path}};
}

AtspiAnswer<std::vector<AtspiAddress>> AtspiObject::embedded() const {
  auto reply = ask(accessibleInterface, "GetRelationSet", nullptr, "(a(ua(so)))");
  if (!reply.value) return {reply.error, {}};
  GLibPtr<GVariant> relations(g_variant_get_child_value(reply.value.get(), 0));
  for (gsize i = 0; i < g_variant_n_children(relations.get()); ++i) {
    guint32 kind = 0;
    GVariant* targets = nullptr;
    g_variant_get_child(relations.get(), i, "(u@a(so))", &kind, &targets);
    GLibPtr<GVariant> held(targets);
    if (kind == ATSPI_RELATION_EMBEDS) return {AccessibilityError::success, addressesIn(targets)};
  }
  return {AccessibilityError::success, {}};
}

AtspiAnswer<std::string> AtspiObject::documentAttribute(const char* name) const {
  auto reply = ask(documentInterface, "GetAttributeValue", g_variant_new("(s)", name), "(s)");
  if (!reply.value) return {reply.error, {}};
  const char* value = nullptr;
  g_variant_get(reply.value.get(), "(&s)", &value);
  return {AccessibilityError::success, value};
}

AtspiAnswer<std::string> AtspiObject::toolkit() const {
  if (auto known = bus_->knownToolkit(address_.bus)) return {AccessibilityError::success, *known};
  const AtspiObject application(*bus_, {address_.bus, "/org/a11y/atspi/accessible/root"}, deadline_);
  auto reply = application.property("org.a11y.atspi.Application", "ToolkitName");
  auto value = unboxed(reply, "s");
  if (!value) return {errorOr(reply, AccessibilityError::noValue), {}};
  std::string name = g_variant_get_string(value.get(), nullptr);
  bus_->noteToolkit(address_.bus, name);
  return {AccessibilityError::success, std::move(name)};
}

AtspiAnswer<AtspiTextFacts> AtspiObject::textFacts() const {
  std::vector<AtspiCall> calls;
  calls.push_back(makeCall(textInterface, "GetNSelections", nullptr, "(i)"));
  calls.push_back(propertyCall(textInterface, "CaretOffset"));
  calls.push_back(propertyCall(textInterface, "CharacterCount"));
  auto replies = bus_->callAll(std::move(calls), deadline_);
  if (!replies[0].value) return {replies[0].error, {}};
  auto caret = numberOf(replies[1]);
  auto count = numberOf(replies[2]);
  if (!caret || !count) return {caret ? count.error : caret.error, {}};
  AtspiTextFacts facts{.selection = {caret.value, caret.value}, .characterCount = count.value};
  gint32 selections = 0;
  g_variant_get(replies[0].value.get(), "(i)", &selections);
  if (selections > 0) {
    auto reply = ask(textInterface, "GetSelection", g_variant_new("(i)", 0), "(ii)");
    if (!reply.value) return {reply.error, {}};
    AtspiRange range;
    g_variant_get(reply.value.get(), "(ii)", &range.start, &range.end);
    if (range.start > range.end) std::swap(range.start, range.end);
    if (range.start >= 0 && range.start < range.end) facts.selection = range;
  }
  return {AccessibilityError::success, facts};
}

AtspiAnswer<std::string> AtspiObject::text(AtspiRange range) const {
  auto reply = ask(textInterface, "GetText", g_variant_new("(ii)", range.start, range.end), "(s)");
  if (!reply.value) return {reply.error, {}};
  const char* value = nullptr;
  g_variant_get(reply.value.get(), "(&s)", &value);
  return {AccessibilityError::success, value};
}

AtspiAnswer<bool> AtspiObject::setCaretOffset(int offset) const {
  return boolOf(ask(textInterface, "SetCaretOffset", g_variant_new("(i)", offset), "(b)"));
}

AtspiAnswer<bool> AtspiObject::deleteText(AtspiRange range) const {
  return boolOf(ask(editableInterface, "DeleteText", g_variant_new("(ii)", range.start, range.end), "(b)"));
}

AtspiAnswer<bool> AtspiObject::insertText(int position, const std::string& utf8, int length) const {
  return boolOf(
      ask(editableInterface, "InsertText", g_variant_new("(isi)", position, utf8.c_str(), length), "(b)"));
}

}  // namespace pell
