// One accessible object of another application, with the calls that we make to it.
#pragma once

#include <atspi/atspi-constants.h>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/AtspiBus.h"

namespace pell {

/// `value` means something only if `error` is `success`.
template <class T>
struct AtspiAnswer {
  AccessibilityError error = AccessibilityError::success;
  T value{};
  explicit operator bool() const { return error == AccessibilityError::success; }
};

/// The set of an object's states.
class AtspiStates {
 public:
  AtspiStates() = default;
  explicit AtspiStates(std::uint64_t bits) : bits_(bits) {}
  bool has(AtspiStateType state) const { return (bits_ >> static_cast<unsigned>(state)) & 1U; }

 private:
  std::uint64_t bits_ = 0;
};

struct AtspiInterfaces {
  bool text = false;
  bool editableText = false;
  bool document = false;
};

/// What an object is, as far as it matters to whoever writes into it.
struct AtspiNature {
  std::uint32_t role = 0;
  AtspiStates states;
  AtspiInterfaces interfaces;
};

/// A range of a text in the toolkit's own units.
struct AtspiRange {
  int start = 0;
  int end = 0;
  bool operator==(const AtspiRange&) const = default;
};

/// What a field says of its text before something is inserted.
struct AtspiTextFacts {
  /// Empty at the caret when nothing is selected.
  AtspiRange selection;
  int characterCount = 0;
};

/// A light handle: an address on a bus and the deadline of the question that is being answered.
class AtspiObject {
 public:
  AtspiObject(const AtspiBus& bus, AtspiAddress address, AtspiDeadline deadline)
      : bus_(&bus), address_(std::move(address)), deadline_(deadline) {}

  const AtspiAddress& address() const { return address_; }

  AtspiAnswer<std::uint32_t> role() const;
  AtspiAnswer<AtspiStates> states() const;
  AtspiAnswer<AtspiInterfaces> interfaces() const;
  /// All three in one round trip.
  AtspiAnswer<AtspiNature> nature() const;
  AtspiAnswer<AtspiAddress> parent() const;
  AtspiAnswer<std::vector<AtspiAddress>> children() const;
  /// The objects that this one embeds, as a browser's window does the page that it shows.
  AtspiAnswer<std::vector<AtspiAddress>> embedded() const;
  AtspiAnswer<std::string> documentAttribute(const char* name) const;
  /// Name of the toolkit of this object's application; asked once for each application.
  AtspiAnswer<std::string> toolkit() const;

  AtspiAnswer<int> characterCount() const { return textProperty("CharacterCount"); }
  AtspiAnswer<int> caretOffset() const { return textProperty("CaretOffset"); }
  AtspiAnswer<AtspiTextFacts> textFacts() const;
  AtspiAnswer<std::string> text(AtspiRange range) const;
  AtspiAnswer<bool> setCaretOffset(int offset) const;
  AtspiAnswer<bool> deleteText(AtspiRange range) const;
  AtspiAnswer<bool> insertText(int position, const std::string& utf8, int length) const;

  AtspiCall roleCall() const;
  AtspiCall statesCall() const;
  AtspiCall childrenCall() const;
  AtspiCall attributesCall() const;
  static AtspiAnswer<AtspiStates> statesOf(const AtspiReply& reply);
  static AtspiAnswer<std::vector<AtspiAddress>> addressesOf(const AtspiReply& reply);

 private:
  AtspiCall makeCall(const char* interface, const char* method, GVariant* arguments,
                     const char* replyType) const;
  AtspiReply ask(const char* interface, const char* method, GVariant* arguments, const char* replyType) const;
  AtspiCall propertyCall(const char* interface, const char* name) const;
  AtspiReply property(const char* interface, const char* name) const;
  AtspiAnswer<int> textProperty(const char* name) const;

  const AtspiBus* bus_;
  AtspiAddress address_;
  AtspiDeadline deadline_;
};

}  // namespace pell
