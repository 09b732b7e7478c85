#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "stores/DictationsRepository.h"
#include "stores/NotesRepository.h"
#include "support/TemporaryDirectory.h"
#include "support/VirtualTime.h"

namespace pell {
namespace {

using ::testing::ElementsAre;

class NotesRepositoryTest : public ::testing::Test {
 protected:
  testing::TemporaryDirectory directory;
  std::filesystem::path file = directory.path() / "pell.db";
  testing::VirtualTime time;
  NotesRepository notes{file, time};

  void SetUp() override {
    notes.connection().execute("PRAGMA synchronous = OFF");
    time.setDate(dateFromSeconds(1'700'000'000.25));
  }

  std::vector<std::string> titles() {
    std::vector<std::string> titles;
    for (const auto& summary : notes.list()) titles.push_back(summary.title);
    return titles;
  }
};

TEST_F(NotesRepositoryTest, WhatWasSavedIsReadBack) {
  const std::string rtf("{\\rtf1 \0\xFF bytes}", 16);
  const Note note = notes.create(rtf, "\n  नमस्ते  \nएक\n\nदो 👋🏽");
  EXPECT_EQ(note.title, "नमस्ते");
  EXPECT_EQ(note.createdAt, dateFromSeconds(1'700'000'000.25));
  EXPECT_EQ(note.updatedAt, note.createdAt);
  NotesRepository later(file, time);
  EXPECT_EQ(later.note(note.id), note);
  EXPECT_THAT(later.list(), ElementsAre(NoteSummary{.id = note.id,
                                                    .title = note.title,
                                                    .preview = "एक दो 👋🏽",
                                                    .text = note.text,
                                                    .createdAt = note.createdAt,
                                                    .updatedAt = note.updatedAt}));
}

TEST_F(NotesRepositoryTest, NewestFirstAndStable) {
  notes.create("", "one");
  const auto two = notes.create("", "two");  // at the same instant
  time.advance(Seconds(5));
  notes.create("", "three");
  EXPECT_THAT(titles(), ElementsAre("three", "two", "one"));

  time.advance(Seconds(5));
  const auto updated = notes.update(two.id, "new bytes", "second\nline");
  ASSERT_TRUE(updated);
  EXPECT_EQ(updated->createdAt, two.createdAt);
  EXPECT_EQ(updated->updatedAt, two.createdAt + Seconds(10));
  EXPECT_EQ(notes.note(two.id), updated);
  EXPECT_THAT(titles(), ElementsAre("three", "second", "one"));
}

TEST_F(NotesRepositoryTest, ARemovedNoteLeavesItsDictations) {
  DictationsRepository history(notes.connection(), time);
  const auto dictation = history.record({.text = "words"});
  const auto kept = notes.create("", "kept");
  const auto note = notes.create("", "words");
  history.setSavedNote(dictation.id, note.id);
  EXPECT_TRUE(notes.remove(note.id));
  EXPECT_FALSE(notes.remove(note.id));
  EXPECT_FALSE(notes.note(note.id));
  EXPECT_FALSE(notes.update(note.id, "rtf", "text"));
  EXPECT_THAT(titles(), ElementsAre(kept.title));
  EXPECT_EQ(history.recent().front().savedNoteID, note.id);
}

}  // namespace
}  // namespace pell
