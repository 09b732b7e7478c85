#include "editor/RtfWords.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace pell {
namespace {

constexpr auto words = std::to_array<RtfWordEntry>({
    {"rtf", RtfWord::rtf, true, "opens the document"},
    {"ansi", RtfWord::codePage, true, "code page 1252 until another is named"},
    {"ansicpg", RtfWord::codePage, true, "code page of the document's bytes"},
    {"mac", RtfWord::macCodePage, false, "code page of the Macintosh"},
    {"pc", RtfWord::pcCodePage, false, "code page 437"},
    {"pca", RtfWord::pcaCodePage, false, "code page 850"},
    {"deff", RtfWord::defaultFont, true, "font of text that names none"},
    {"generator", RtfWord::generator, true,
     "left out; the last paragraph of such a document ends with a break too"},
    {"uc", RtfWord::fallbackLength, true, "how many characters stand in for one of Unicode"},
    {"u", RtfWord::unicode, true, "a UTF-16 code unit"},
    {"upr", RtfWord::muted, false, "left out but for its Unicode half"},
    {"ud", RtfWord::shown, false, "the Unicode half"},
    {"shpinst", RtfWord::muted, false, "a drawing, left out but for its text"},
    {"shptxt", RtfWord::shown, false, "the text of a drawing"},
    {"fonttbl", RtfWord::fontTable, true, "the fonts"},
    {"f", RtfWord::font, true, "font family"},
    {"fcharset", RtfWord::fontCharset, true, "code page of a font's bytes"},
    {"cpg", RtfWord::fontCodePage, false, "the same, by its number"},
    {"colortbl", RtfWord::colourTable, true, "the colours"},
    {"red", RtfWord::red, true, "red part of a colour"},
    {"green", RtfWord::green, true, "green part of a colour"},
    {"blue", RtfWord::blue, true, "blue part of a colour"},
    {"plain", RtfWord::plain, true, "characters as the document has them by default"},
    {"fs", RtfWord::fontSize, true, "font size in half points"},
    {"pellsize", RtfWord::exactFontSize, true,
     "our own: font size in hundredths of a point, where it is no half"},
    {"pellweight", RtfWord::fontWeight, true, "our own: weight of a font that is neither regular nor bold"},
    {"b", RtfWord::bold, true, "bold"},
    {"i", RtfWord::italic, true, "italic"},
    {"ul", RtfWord::underline, true, "underline"},
    {"uld uldash uldashd uldashdd uldb ulhwave ulldash ulth ulthd ulthdash ulthdashd ulthdashdd ulthldash "
     "ululdbwave ulw ulwave",
     RtfWord::underline, false, "underline; its kind is lost"},
    {"ulnone", RtfWord::noUnderline, false, "no underline"},
    {"strike", RtfWord::strikethrough, true, "strikethrough"},
    {"striked", RtfWord::strikethrough, false, "strikethrough; that it is double is lost"},
    {"cf", RtfWord::foreground, true, "text colour"},
    {"cb", RtfWord::background, true, "background colour"},
    {"chcbpat", RtfWord::shading, true, "background colour, before that of cb"},
    {"highlight", RtfWord::highlight, false, "background colour, before both others"},
    {"v", RtfWord::hidden, false, "hidden text, left out"},
    {"deleted", RtfWord::hidden, false, "text whose deletion was tracked, left out"},
    {"pard", RtfWord::paragraphDefaults, true, "paragraph as the document has it by default"},
    {"sl", RtfWord::lineHeight, true,
     "line height; in 240ths of the font's own if slmult1 stands with it, else lost"},
    {"slmult", RtfWord::lineHeightMultiple, true, "what the line height counts"},
    {"sa", RtfWord::spaceAfter, true, "paragraph spacing"},
    {"fi", RtfWord::firstLineIndent, true, "first-line indent, from the head indent"},
    {"li", RtfWord::leftIndent, true, "head indent"},
    {"ri", RtfWord::rightIndent, true, "tail indent, from the right edge"},
    {"pelltail", RtfWord::leadingTailIndent, true, "our own: tail indent that counts from the left edge"},
    {"tx", RtfWord::tabStop, true, "tab stop"},
    {"pelltab", RtfWord::defaultTabInterval, true, "our own: default tab interval"},
    {"par", RtfWord::paragraph, true, "line break, end of a paragraph"},
    {"sect page column", RtfWord::newLine, false,
     "line break, unless the line is empty; that it begins a section, page or column is lost"},
    {"cell nestcell", RtfWord::cell, false, "tab between the cells of a row"},
    {"row", RtfWord::row, false, "line break, end of a row"},
    {"nestrow", RtfWord::nestedRow, false, "the same, in a table within a table"},
    {"line", RtfWord::character, true, "line separator", 0x2028},
    {"tab", RtfWord::character, true, "tab", 0x0009},
    {"emdash", RtfWord::character, false, "em dash", 0x2014},
    {"endash", RtfWord::character, false, "en dash", 0x2013},
    {"bullet", RtfWord::character, false, "bullet", 0x2022},
    {"lquote", RtfWord::character, false, "opening single quote", 0x2018},
    {"rquote", RtfWord::character, false, "closing single quote", 0x2019},
    {"ldblquote", RtfWord::character, false, "opening quote", 0x201C},
    {"rdblquote", RtfWord::character, false, "closing quote", 0x201D},
    {"emspace", RtfWord::character, false, "em space", 0x2003},
    {"enspace", RtfWord::character, false, "en space", 0x2002},
    {"qmspace", RtfWord::character, false, "quarter space", 0x2005},
    {"zwj", RtfWord::character, false, "zero-width joiner", 0x200D},
    {"zwnj", RtfWord::character, false, "zero-width non-joiner", 0x200C},
    {"zwbo", RtfWord::character, false, "zero-width space", 0x200B},
    {"zwnbo", RtfWord::character, false, "word joiner", 0x2060},
    {"ltrmark", RtfWord::character, false, "left-to-right mark", 0x200E},
    {"rtlmark", RtfWord::character, false, "right-to-left mark", 0x200F},
    {"lbr", RtfWord::newLine, false, "line break, unless the line is empty"},
    {"field", RtfWord::field, true, "a field: its result is text"},
    {"fldinst", RtfWord::fieldInstruction, true, "link target, if the field is a hyperlink; else lost"},
    {"fldrslt", RtfWord::fieldResult, true, "text of the field"},
    {"listtext pntext", RtfWord::listText, false,
     "marker of a list item: a bullet, or digits with a point; then a tab"},
    {"footnote", RtfWord::footnote, false, "text in brackets"},
    {"stylesheet", RtfWord::skipped, false,
     "style sheet, left out: each paragraph repeats what its style says"},
    {"info", RtfWord::skipped, false, "title, author and so on, left out"},
    {"pict nonshppict shppict shprslt do", RtfWord::skipped, false, "picture or drawing, left out"},
    {"objclass objdata objname objtime", RtfWord::skipped, false,
     "embedded object, left out; its result is text"},
    {"header headerl headerr headerf footer footerl footerr footerf", RtfWord::skipped, false,
     "head or foot of a page, left out"},
    {"ftnsep ftnsepc ftncn aftnsep aftnsepc aftncn", RtfWord::skipped, false,
     "rule above footnotes, left out"},
    {"annotation atnid atnauthor atnref atntime atndate atnicn atrfstart atrfend", RtfWord::skipped, false,
     "comment, left out"},
    {"xe tc tcn rxe txe", RtfWord::skipped, false, "index or contents entry, left out"},
    {"listtable listoverridetable pn pnseclvl listpicture", RtfWord::skipped, false,
     "definition of a list, left out: its markers stand in the text"},
    {"filetbl revtbl rsidtbl xmlnstbl pgdsctbl themedata colorschememapping datastore latentstyles mmathPr",
     RtfWord::skipped, false, "table of the writing program, left out"},
    {"falt panose fontemb", RtfWord::skipped, false, "more about a font, left out"},
    {"bkmkstart bkmkend", RtfWord::skipped, false, "bookmark, left out"},
    {"nesttableprops", RtfWord::muted, false,
     "layout of a table within a table, left out but for the ends of rows"},
    {"nonesttables", RtfWord::skipped, false, "text for programs that know no tables in tables, left out"},
    {"datafield formfield ffdeftext", RtfWord::skipped, false, "data of a form, left out"},
    {"fnil", RtfWord::ignored, true, "kind of a font"},
    {"froman fswiss fmodern fscript fdecor ftech fbidi fprq", RtfWord::ignored, false,
     "kind of a font, lost"},
    {"chshdng", RtfWord::ignored, true, "amount of a background's pattern, lost"},
    {"deftab", RtfWord::ignored, false, "default tab interval of a whole document, lost"},
    {"sb lisa lisb saauto sbauto contextualspace", RtfWord::ignored, false,
     "other spacing of paragraphs, lost"},
    {"ql qr qc qj qd", RtfWord::ignored, false, "alignment, lost"},
    {"lin rin culi curi cufi", RtfWord::ignored, false,
     "indents in other units or directions, which repeat li, ri and fi"},
    {"tqr tqc tqdec tldot tlmdot tlhyph tlul tlth tleq tb", RtfWord::ignored, false,
     "kind of a tab stop, lost: all align left"},
    {"cs s ds ts sbasedon snext", RtfWord::ignored, false, "name of a style, lost: what it says is repeated"},
    {"super sub nosupersub up dn", RtfWord::ignored, false, "raised and lowered text, lost"},
    {"caps scaps outl shad embo impr expnd expndtw kerning charscalex", RtfWord::ignored, false,
     "other character effects, lost"},
    {"ulc", RtfWord::ignored, false, "colour of an underline, lost"},
    {"lang langfe langnp langfenp alang deflang deflangfe adeflang noproof lchars fchars", RtfWord::ignored,
     false, "language, lost"},
    {"rtlch ltrch af afs ab ai", RtfWord::ignored, true,
     "font of scripts such as Devanagari: it is that of the others"},
    {"ltrpar rtlpar ltrsect rtlsect ltrdoc rtldoc loch hich dbch fcs acf aul", RtfWord::ignored, false,
     "direction and what belongs to other scripts, lost"},
    {"keep keepn widctlpar nowidctlpar hyphpar outlinelevel pagebb sbys intbl itap trowd cellx trgaph trleft "
     "ilvl ls level",
     RtfWord::ignored, false, "layout of paragraphs, lists and tables, lost"},
    {"brdrt brdrb brdrl brdrr brdrs brdrw brdrcf brsp cfpat cbpat shading", RtfWord::ignored, false,
     "borders and shades of paragraphs, lost"},
    {"sectd paperw paperh margl margr margt margb headery footery cols endnhere sectlinegrid viewkind "
     "viewscale",
     RtfWord::ignored, false, "layout of pages, lost"},
    {"object shp result objemb objw objh rsltmerge nowwrap", RtfWord::ignored, false,
     "frame of an object or drawing, lost"},
    {"pntxta pntxtb", RtfWord::skipped, false, "text around a number, left out: it stands in the marker"},
    {"revised crauth crdate revauth revdttm insrsid charrsid pararsid", RtfWord::ignored, false,
     "who changed what, lost"},
});

constexpr RtfWordEntry unknownWord{};

/// The first letters of a word as one number, since most words have no more.
struct Key {
  static constexpr std::size_t letters = sizeof(std::uint64_t);

  explicit Key(std::string_view name) {
    for (const char letter : name.substr(0, letters))
      first = first << 8U | static_cast<unsigned char>(letter);
    rest = name.substr(std::min(name.size(), letters));
  }

  bool operator==(const Key& other) const {
    return first == other.first && rest.size() == other.rest.size() && (rest.empty() || rest == other.rest);
  }

  std::size_t hash() const {
    constexpr std::uint64_t spread = 0x9E3779B97F4A7C15;  // of the golden ratio: neighbours fall far apart
    return (first * spread) >> 54U;
  }

  std::uint64_t first = 0;
  std::string_view rest;
};

/// Every word at the place that its hash gives, or at the next free one: documents ask for words far more
/// often than for anything else.
class Index {
 public:
  Index() {
    for (const RtfWordEntry& entry : words) {
      for (std::string_view left = entry.names; !left.empty();) {
        const std::string_view name = left.substr(0, left.find(' '));
        left.remove_prefix(name.size() == left.size() ? left.size() : name.size() + 1);
        const Key key(name);
        slots_[place(key)] = {key, &entry};
      }
    }
  }

  const RtfWordEntry& find(std::string_view name) const {
    const Slot& slot = slots_[place(Key(name))];
    return slot.entry ? *slot.entry : unknownWord;
  }

 private:
  struct Slot {
    Key key{{}};
    const RtfWordEntry* entry = nullptr;
  };

  /// Where a word stands, or would stand.
  std::size_t place(const Key& key) const {
    std::size_t at = key.hash();
    while (slots_[at].entry && !(slots_[at].key == key)) at = (at + 1) % slots_.size();
    return at;
  }

  std::array<Slot, 1024> slots_{};  // three for each word
};

}  // namespace

std::span<const RtfWordEntry> rtfWords() { return words; }

const RtfWordEntry& findRtfWord(std::string_view name) {
  static const Index index;
  return index.find(name);
}

}  // namespace pell
