// The least that an insertion through accessibility can be, done with libatspi.
#pragma once

#include <memory>
#include <string>

namespace pell::bench {

/// Main thread.
class BareInsertion {
 public:
  explicit BareInsertion(int process);
  ~BareInsertion();

  /// Whether that process shows a window whose focus can be found.
  bool isThere();

  /// Looks for the focus, inserts, and sees that the field has grown. False if it has not.
  bool insert(const std::string& text);

  /// One call to the field that was found before, and no look at what came of it.
  bool insertOnly(const std::string& text);

 private:
  struct Tree;
  std::unique_ptr<Tree> tree_;
};

}  // namespace pell::bench
