#pragma once

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "localserver/Storage.h"

namespace pell::localserver {

/// A letter could not be written; the text is fit for an operator to read.
class MailFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Letters to users, as files that a mail program of the operator's choice sends off: one ".eml" each in a
/// folder that nobody else may read, complete from the moment it has that name. Any thread.
class Outbox {
 public:
  struct Setup {
    std::filesystem::path folder;
    std::string sender;
    WallNow now;
    /// How long a letter is worth sending off; older ones go when the next one comes.
    std::chrono::seconds lifetime;
  };
  explicit Outbox(Setup setup);

  struct Letter {
    /// Who gets it: the account, and its address in the form that accounts are kept in.
    std::string userId;
    std::string to;
    /// ASCII.
    std::string subject;
    std::string text;
  };
  /// Throws MailFailure.
  void post(const Letter& letter) const;

  /// Takes back what still lies there for a user.
  void discard(const std::string& userId) const;

 private:
  void sweep(UnixSeconds now) const;

  const Setup setup_;
};

}  // namespace pell::localserver
