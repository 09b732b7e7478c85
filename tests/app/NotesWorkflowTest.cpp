#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/NotesWorkflow.h"
#include "app/OnboardingModel.h"
#include "editor/EditorCoordinator.h"
#include "editor/RichText.h"
#include "stores/NotesRepository.h"
#include "support/MemoryPlatform.h"
#include "support/MemoryTextView.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Screen = AppState::Screen;
using SaveState = NotesWorkflow::SaveState;

/// The notes page while it is on screen.
class Page {
 public:
  Page(NotesWorkflow& notes, EditorController& editor)
      : notes_(notes), coordinator_(editor, view, [](const std::string&) { return true; }) {
    show();
  }

  MemoryTextView view;

  std::string text() { return view.document().storage().utf8(); }
  void clear() {
    view.select({.location = 0, .length = view.document().storage().length()});
    view.backspace();
  }

 private:
  void show() { coordinator_.show(notes_.documentID(), notes_.draft()); }

  NotesWorkflow& notes_;
  EditorCoordinator coordinator_;
  Subscription documents_ = notes_.documentID().subscribe([this] { show(); });
};

class NotesWorkflowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    execute("PRAGMA synchronous = OFF");
    desk.time.setDate(dateFromSeconds(1'750'000'000));
  }

  NotesWorkflow::Collaborators collaborators(NotesRepository* store) {
    return {.state = state,
            .onboarding = onboarding,
            .editor = editor,
            .repository = store,
            .main = desk.time.main(),
            .clock = desk.time,
            .localeOfDates = "en_US"};
  }

  void execute(const char* sql) { repository.connection().execute(sql); }
  void wait(double seconds) { desk.time.advance(Seconds(seconds)); }
  std::string banner() { return state.banner.get().value_or(""); }

  void openPage() { page = std::make_unique<Page>(notes, editor); }
  void type(std::u16string_view text, double pause = 1) {
    page->view.type(text);
    wait(pause);
  }
  /// A note as an earlier run left it.
  Note keep(const std::string& text) {
    wait(1);
    return repository.create(RichText::rtf(RichText::bodyParagraph(text)), text);
  }
  /// Whatever is written from now on fails, or works again.
  void breakSaves() {
    for (const std::string kind : {"UPDATE", "INSERT", "DELETE"}) {
      const std::string head = "CREATE TRIGGER broken" + kind + " BEFORE " + kind;
      execute((head + " ON notes BEGIN SELECT RAISE(ABORT, 'disk full'); END").c_str());
    }
  }
  void mendSaves() {
    execute("DROP TRIGGER brokenUPDATE; DROP TRIGGER brokenINSERT; DROP TRIGGER brokenDELETE");
  }

  std::vector<std::string> titles() {
    std::vector<std::string> titles;
    for (const auto& row : notes.notes().get()) titles.push_back(row.title);
    return titles;
  }

  MemoryPlatform desk;
  AppState state;
  OnboardingModel onboarding{desk.defaults, desk.time};
  EditorController editor{desk.time.main()};
  NotesRepository repository{desk.support() / "pell.db", desk.time};
  NotesWorkflow notes{collaborators(&repository)};
  std::unique_ptr<Page> page = std::make_unique<Page>(notes, editor);
};

TEST_F(NotesWorkflowTest, SavesOnceTheUserPauses) {
  int switches = 0;
  auto subscription = notes.documentID().subscribe([&] { ++switches; });
  type(u" \n\t");
  EXPECT_THAT(titles(), IsEmpty());
  EXPECT_EQ(notes.saveLabel(), "Not saved yet");

  page->clear();
  for (const char16_t letter : std::u16string(u"Plan")) type(std::u16string(1, letter), 0.6);
  EXPECT_THAT(repository.list(), IsEmpty());
  EXPECT_EQ(notes.saveState().get(), SaveState::idle);
  wait(0.11);
  EXPECT_THAT(titles(), ElementsAre("Plan"));
  const auto id = notes.activeNoteID().get();
  ASSERT_TRUE(id);
  EXPECT_EQ(repository.note(*id)->text, "Plan");
  EXPECT_THAT(notes.saveLabel(), StartsWith("Edited "));
  EXPECT_EQ(notes.saveState().get(), SaveState::saved);
  EXPECT_EQ(notes.documentID().get(), "draft-0");
  EXPECT_TRUE(page->view.document().canUndo()) << "the editor was not loaded under the user's hands";

  keep("Newer");
  type(u" B\n", 0.1);
  notes.reloadNotes();
  EXPECT_THAT(titles(), ElementsAre("Newer", "Plan")) << "as it is stored so far";
  int tellings = 0;
  auto list = notes.notes().subscribe([&] { ++tellings; });
  type(u"more");
  EXPECT_EQ(tellings, 1);
  EXPECT_THAT(titles(), ElementsAre("Newer", "Plan B")) << "it keeps its place";
  EXPECT_EQ(notes.notes().get()[1].preview, "more");
  EXPECT_EQ(notes.updatedAt().get(), repository.note(*id)->updatedAt);
  EXPECT_EQ(RichText::attributed(repository.note(*id)->rtf), page->view.document().storage());
  page->clear();
  wait(1);
  EXPECT_EQ(repository.note(*id)->text, "");
  EXPECT_EQ(switches, 0);
}

TEST_F(NotesWorkflowTest, SwitchesDocumentsAndLosesNothing) {
  const Note first = keep("First");
  const Note second = keep("Second");
  notes.reloadNotes();
  type(u"Draft", 0.1);
  notes.select(first.id);
  EXPECT_THAT(titles(), ElementsAre("Draft", "Second", "First"));
  EXPECT_EQ(page->text(), "First");
  EXPECT_EQ(notes.documentID().get(), "note-" + first.id);
  EXPECT_EQ(notes.saveState().get(), SaveState::idle);

  type(u"!", 0.1);
  notes.select(first.id);
  EXPECT_EQ(repository.note(first.id)->text, "First") << "it is open: not even a save";
  notes.newNote();
  EXPECT_EQ(repository.note(first.id)->text, "First!");
  EXPECT_EQ(page->text(), "");
  EXPECT_TRUE(notes.isDraftActive());
  EXPECT_EQ(notes.updatedAt().get(), std::nullopt);
  const std::string draft = notes.documentID();
  notes.newNote();
  EXPECT_THAT(notes.documentID().get(), ::testing::AllOf(StartsWith("draft-"), ::testing::Ne(draft)));

  notes.select("gone");
  EXPECT_TRUE(notes.isDraftActive());
  type(u"Kept", 0.1);
  execute("ALTER TABLE notes RENAME COLUMN rtf TO hidden");
  notes.select(second.id);
  EXPECT_THAT(banner(), StartsWith("Could not open that note: "));
  EXPECT_EQ(page->text(), "Kept");
  execute("ALTER TABLE notes RENAME COLUMN hidden TO rtf");
  type(u"!");
  EXPECT_EQ(titles().front(), "Kept!");
}

TEST_F(NotesWorkflowTest, AFailedSaveIsToldAndTriedAgain) {
  breakSaves();
  type(u"One");
  EXPECT_EQ(banner(), "Could not save this note: disk full");
  EXPECT_EQ(notes.saveLabel(), "Not saved");
  wait(60);
  EXPECT_TRUE(notes.isDraftActive());
  mendSaves();
  type(u" two");
  EXPECT_THAT(titles(), ElementsAre("One two"));
  EXPECT_EQ(notes.saveState().get(), SaveState::saved);

  breakSaves();
  state.banner = std::nullopt;
  type(u" three", 0.1);
  notes.newNote();
  EXPECT_EQ(banner(), "Could not save this note: disk full");
  EXPECT_EQ(notes.saveState().get(), SaveState::idle) << "the next document has no part in it";
  mendSaves();

  execute("ALTER TABLE notes RENAME TO hidden");
  notes.reloadNotes();
  EXPECT_THAT(banner(), StartsWith("Could not load your notes: "));
  EXPECT_THAT(titles(), ElementsAre("One two"));
  execute("ALTER TABLE hidden RENAME TO notes");
}

TEST_F(NotesWorkflowTest, DeletesWhatTheUserConfirms) {
  const Note open = keep("Open");
  const Note other = keep("Other");
  notes.reloadNotes();
  notes.select(open.id);
  notes.confirmDelete();
  EXPECT_EQ(titles().size(), 2u) << "nobody was asked";
  notes.setPendingDelete(other.id);
  type(u" edits", 0.1);
  breakSaves();
  notes.confirmDelete();
  EXPECT_EQ(banner(), "Could not delete that note: disk full");
  EXPECT_EQ(titles().size(), 2u);
  EXPECT_EQ(page->text(), "Open edits");
  mendSaves();
  notes.setPendingDelete(other.id);
  notes.confirmDelete();
  wait(1);
  EXPECT_EQ(notes.pendingDeleteID().get(), std::nullopt);
  EXPECT_THAT(titles(), ElementsAre("Open"));
  EXPECT_EQ(repository.list().size(), 1u);
  EXPECT_EQ(repository.note(open.id)->text, "Open") << "edits that wait are dropped";
  EXPECT_EQ(page->text(), "");

  notes.select(open.id);
  type(u" edits", 0.1);
  notes.setPendingDelete(open.id);
  notes.confirmDelete();
  wait(1);
  EXPECT_THAT(titles(), IsEmpty());
  EXPECT_EQ(page->text(), "");
  type(u"Next");
  EXPECT_THAT(titles(), ElementsAre("Next")) << "a note of its own";

  state.banner = std::nullopt;
  repository.remove(notes.activeNoteID().get().value());  // as somebody else may
  type(u"!");
  EXPECT_EQ(notes.saveState().get(), SaveState::saved);
  EXPECT_EQ(banner(), "");
  EXPECT_THAT(repository.list(), IsEmpty());
  EXPECT_EQ(page->text(), "Next!");
}

TEST_F(NotesWorkflowTest, ListsWhatMatchesTheQuery) {
  keep("Straße\nwith trees");
  keep("Garden\nTREES and grass");
  notes.reloadNotes();
  for (const auto& [query, expected] : std::vector<std::pair<std::string, std::size_t>>{
           {" \t", 2}, {" Trees ", 2}, {"STRAßE", 1}, {"rees an", 1}, {"\n", 2}, {"x", 0}}) {
    notes.setQuery(query);
    const auto groups = notes.groups();
    EXPECT_EQ(groups.empty() ? 0 : groups.at(0).notes.size(), expected) << query;
  }
}

TEST_F(NotesWorkflowTest, ATranscriptGoesIntoTheDocumentOnScreen) {
  struct Case {
    Screen screen;
    OnboardingStep step;
    bool inserted, flashes;
  };
  for (const Case& each : std::vector<Case>{{Screen::ready, step::DictateInPell{}, true, false},
                                            {Screen::onboarding, step::DictateInPell{}, true, true},
                                            {Screen::onboarding, step::Finish{}, true, false},
                                            {Screen::signedOut, step::Account{}, false, false},
                                            {Screen::loading, step::Account{}, false, false}}) {
    notes.newNote();
    onboarding.enter(each.step, false);
    state.screen = each.screen;
    page->view.highlights.clear();
    EXPECT_EQ(notes.insertTranscript({.paragraphs = {"Hello", "you"}}), each.inserted);
    EXPECT_EQ(page->text(), each.inserted ? "Hello\nyou" : "");
    EXPECT_EQ(notes.isDraftActive(), !each.inserted) << "stored at once";
    wait(1);
    EXPECT_EQ(page->view.highlights.size(), each.flashes ? 9u : 0u);
  }
  state.screen = Screen::ready;
  notes.newNote();
  type(u"•\tone ", 0.1);
  EXPECT_TRUE(notes.insertTranscript({.paragraphs = {"", ""}})) << "which the list takes for a return";
  EXPECT_EQ(repository.note(notes.activeNoteID().get().value())->text, "•\tone \n•\t");
  page.reset();
  EXPECT_FALSE(notes.insertTranscript({.paragraphs = {"Hello"}}));
}

TEST_F(NotesWorkflowTest, APageThatReturnsShowsTheLatest) {
  const Note note = keep("Once");
  notes.select(note.id);
  for (const char16_t* typed : {u" upon", u" a", u" time"}) {
    type(typed, 0.1);
    page = nullptr;
    wait(typed[1] == u'a' ? 1 : 0);  // also across a save
    openPage();
  }
  EXPECT_EQ(page->text(), "Once upon a time");
  wait(1);
  EXPECT_EQ(repository.note(note.id)->text, "Once upon a time");
}

TEST_F(NotesWorkflowTest, DamagedBytesShowTheWordsAndStayUntilTheUserEdits) {
  for (const std::string rtf : {"", "no RTF", "{\\rtf1", "{\\rtf1 Words", "{\\rtf1 {\\b Words}\\par lef"}) {
    const Note note = repository.create(rtf, "Words\nleft");
    notes.select(note.id);
    for (const bool anew : {false, true}) {
      if (anew) page = nullptr;
      if (anew) openPage();
      EXPECT_EQ(page->view.document().storage(), RichText::bodyParagraph("Words\nleft")) << rtf;
    }
    wait(1);
    EXPECT_EQ(repository.note(note.id)->rtf, rtf);
    type(u"!");
    EXPECT_EQ(RichText::attributed(repository.note(note.id)->rtf).utf8(), "Words\nleft!");
  }
  const Note blank = repository.create("", " \n");
  notes.select(blank.id);
  EXPECT_EQ(page->text(), "");
}

TEST_F(NotesWorkflowTest, IsSilentWithoutAStore) {
  page.reset();
  NotesWorkflow homeless(collaborators(nullptr));
  Page there(homeless, editor);
  there.view.type(u"words");
  wait(1);
  homeless.reloadNotes();
  homeless.select("any");
  homeless.setPendingDelete("any");
  homeless.confirmDelete();
  EXPECT_EQ(there.text(), "words");
  EXPECT_EQ(banner(), "");
  EXPECT_EQ(homeless.saveLabel(), "Not saved yet");
}

}  // namespace
}  // namespace pell::testing
