// Another program's clipboard: owns selections, well or badly, and asks for them.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/SelectionFormats.h"
#include "platform/linux/X11Loop.h"

namespace pell::testing {

/// Serves on a thread of its own, as another program would, and shares no code with the adapter's side of
/// the protocol.
class SelectionPeer {
 public:
  struct Manners {
    std::size_t partBytes = 1U << 20U;  // larger content goes in parts
    bool answers = true;
    int partsBeforeDeath = -1;     // the owner goes away in the middle of a transfer
    double pauseBetweenParts = 0;  // seconds
  };

  SelectionPeer();
  ~SelectionPeer();

  /// Becomes the owner of `selection` with these formats.
  void own(std::vector<SelectionData> content, Manners manners, const std::string& selection = "CLIPBOARD");
  void stopAnswering();
  bool owns(const std::string& selection = "CLIPBOARD");

  /// What a target holds, with its type and format; absent if it is refused or nobody answers.
  std::optional<SelectionData> ask(const std::string& target, const std::string& selection = "CLIPBOARD");

  /// How often each target was asked of us.
  std::map<std::string, int> requests();

 private:
  struct Transfer {
    unsigned long requestor, property;
    SelectionData data;
    std::size_t sent = 0;
    int parts = 0;
  };

  void onEvent(_XEvent& event);
  void onRequest(const _XEvent& event);
  void sendPart(Transfer& transfer);
  void put(unsigned long window, unsigned long property, const SelectionData& data, std::size_t from,
           std::size_t count);

  X11Connection* connection_;
  X11Loop loop_;
  unsigned long window_ = 0;
  std::vector<SelectionData> content_;
  Manners manners_;
  std::vector<Transfer> transfers_;
  std::map<std::string, int> requests_;
};

}  // namespace pell::testing
