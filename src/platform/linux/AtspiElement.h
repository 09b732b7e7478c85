// Elements of other applications, as the accessibility port shows them.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/AccessibilityTree.h"
#include "platform/OwnElements.h"
#include "platform/linux/AtspiFocus.h"

namespace pell {

inline constexpr Seconds standardMessagingTimeout{0.75};

/// What an element was when it was last asked. Finding an element, reading what it is and writing into it
/// come one upon the other, and each question to another process costs a tenth of what the whole takes, so
/// one answer serves for that moment.
struct AtspiMemory {
  AtspiNature nature;
  Instant asked{};

  bool isFresh() const;
};

/// The element that was last found to have the focus in an application.
struct AtspiRecentFocus {
  int process = 0;
  AtspiAddress address;
  AtspiMemory memory;
};

/// One accessible object.
class AtspiElement : public AccessibilityElement {
 public:
  AtspiElement(std::shared_ptr<AtspiBus> bus, AtspiAddress address, Seconds timeout);

  void remember(const AtspiMemory& memory) { memory_ = memory; }

  void setMessagingTimeout(Seconds limit) override { timeout_ = limit; }
  AccessibilityReading copyAttribute(std::string_view name) override;
  std::vector<std::string> attributeNames() override;
  Settable isSettable(std::string_view name) override;
  AccessibilityError setAttribute(std::string_view name, std::string_view utf8) override;

 private:
  AtspiObject object() const { return {*bus_, address_, AtspiDeadline(timeout_)}; }
  AtspiAnswer<AtspiNature> nature();
  AccessibilityReading role();
  AccessibilityReading subrole();
  AccessibilityReading selectedText() const;
  AccessibilityReading document() const;
  AccessibilityReading url() const;
  AccessibilityReading children() const;

  std::shared_ptr<AtspiBus> bus_;
  AtspiAddress address_;
  std::optional<AtspiMemory> memory_;
  Seconds timeout_;
};

/// An application, or the system as a whole when `process` gives the active application's process. Its own
/// attributes are the focus; it has no text.
class AtspiApplicationElement : public AccessibilityElement {
 public:
  struct Parts {
    std::shared_ptr<AtspiBus> bus;
    /// 0 when there is none.
    std::function<int()> process;
    /// May be null.
    OwnElements* own = nullptr;
    /// Shared by all elements of one tree.
    std::shared_ptr<AtspiRecentFocus> recent;
  };
  explicit AtspiApplicationElement(Parts parts) : parts_(std::move(parts)) {}

  void setMessagingTimeout(Seconds limit) override { timeout_ = limit; }
  AccessibilityReading copyAttribute(std::string_view name) override;
  std::vector<std::string> attributeNames() override;
  Settable isSettable(std::string_view name) override;
  AccessibilityError setAttribute(std::string_view name, std::string_view utf8) override;

 private:
  AccessibilityReading focus(int process);
  AccessibilityReading window(int process);
  AccessibilityReading elementAt(AtspiAnswer<AtspiAddress> found, std::optional<AtspiMemory> memory = {});

  Parts parts_;
  Seconds timeout_ = standardMessagingTimeout;
};

}  // namespace pell
