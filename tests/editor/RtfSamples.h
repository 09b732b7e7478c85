// RTF as programs write it, and what is to be read in it. The fuzzer starts from the same documents.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pell::testing {

struct RtfSample {
  std::string rtf;
  std::string described;  // by `described`
};

inline std::vector<RtfSample> rtfSamples() {
  return {
      // Bytes and characters.
      {R"({\rtf1 hello})", "hello"},
      {"\xEF\xBB\xBF \n{\\rtf1\r\nhel\nlo}", "hello"},
      {R"({\rtf1\ansi caf\'e9 \'80})", "café €"},
      {"{\\rtf1 raw \xE9\t\x01\xFF}", "raw é\tÿ"},
      {R"({\rtf1\ansi\ansicpg1251 \'cf\'f0\'e8\'e2\'e5\'f2})", "Привет"},
      {R"({\rtf1\mac\'8e\pc\'82\pca\'d5\ansi\'d5\ansicpg77777\'d5})", "ééıÕÕ"},
      {"{\\rtf1\\ansicpg65001 \\'c3\\'a9x\xC3\xA9}", "éxé"},
      {R"({\rtf1\ansicpg932{\fonttbl{\f0\fcharset0 A;}{\f1\fcharset204 B;}{\f2\fcharset128 C;}{\f3\cpg1253 D;}})"
       R"(\'e9\f1\'cf\f2\'93\'fa\'83A\'b1\'83\f0\'83\f3\'e1})",
       "é<A 12 400>П<B 12 400>日アｱ\uFFFD<C 12 400>ƒ<A 12 400>α<D 12 400>"},
      {R"({\rtf1{\fonttbl{\f0 A;}{\f1\fcharset2 Symbol;}}\f1\'b7\u61623?a\f0\'b7\u61623?})",
       "••α<Symbol 12 400>·\uF0B7<A 12 400>"},
      {R"({\rtf1{\fonttbl{\f1\fcharset2 Symbol;}{\f2\fcharset2 Webdings;}{\f3\fcharset204 Symbol;}}\f1 Wab\'a3\u61542?\f2 ab\f3 ab})",
       "Ωαβ≤φ<Symbol 12 400>ab<Webdings 12 400>ab<Symbol 12 400>"},
      {R"({\rtf1\ansicpg932 \'95\\\'95\{\'83\}\'95{\b x}\\})", "表府マ\uFFFDx< 12 700>\\"},
      {R"({\rtf1\u233?x\uc2\u233\'65\'65y{\uc0\u233z}\u233??\uc0\u233 z})", "éxéyézééz"},
      {R"({\rtf1\u-10179?\u-8704?\u55357?\u56832?\u128512?})", "😀😀😀"},
      {R"({\rtf1\u-8704?a\u-10179?})", "\uFFFDa\uFFFD"},
      {R"({\rtf1\u8226\'95\u123\{\u8212\emdash\u233{a}\u233\bin2 ??y\u233\par\u10?z\u8233?})",
       "•{—éaéyé\n\nz\n"},
      {R"({\rtf1\emdash\endash\lquote\rquote\ldblquote\rdblquote\bullet\~\-\_\{\}\\a\line b\tab c\|\:})",
       "—–‘’“”•\u00A0\u00AD\u2011{}\\a\u2028b\tc"},
      {R"({\rtf1 {\upr{caf\'e9 ?}{\*\ud{cafe\u769?}}}!})", "cafe\u0301!"},
      {R"({\rtf1 a\bin3 b}cd})", "ad"},
      // Groups and destinations.
      {R"({\rtf1 a{\b b{\i c}d}e})", "ab< 12 700>c< 12 700i>d< 12 700>e"},
      {R"({\rtf1 a{\*\unknown{\deep x}y \}\bin2 }}z}b{\info{\title t}}{\pict\pngblip 89504e47}c{\header h}d})",
       "abcd"},
      {R"({\rtf1{\stylesheet{\s1\b\fs48 heading 1;}}\s1\b\fs48 x\plain  y})", "x< 24 700> y"},
      {R"({\rtf1 a{\v hidden\par}{\deleted gone}\v1 b\v0 c})", "ac"},
      {R"({\rtf1 a{\footnote\pard note}b{\object{\*\objdata 00}{\result{\b r}}}{\shp{\*\shpinst x{\shptxt box}}}})",
       "a [note]br< 12 700>box"},
      // Fonts and colours.
      {R"({\rtf1\deff1{\fonttbl\f0\fswiss Helvetica;\f1\fnil Arial;}a\f0\fs25\i b\plain\b\b0 c})",
       "a<Arial 12 400>b<Helvetica 12.5 400i>c<Arial 12 400>"},
      {R"({\rtf1{\fonttbl{\f0\fcharset0 Caf\'e9{\*\falt Other};}{\f7 \u9679?A\u59?B;}}\fs20 a\f7 b\f9\fs0 c})",
       "a<Café 10 400>b<●A;B 10 400>c"},
      {R"({\rtf1{\colortbl;\red31\green27\blue22;\red1\green2\blue300;}\cf1 a\cf2\cb2 b\cf0\cb0\chcbpat1 c)"
       R"(\highlight2 d\cf9\highlight0\chcbpat-1 e})",
       "a<text palette6>b<text #0102ff, on #0102ff>c<on palette6>d<on #0102ff>e"},
      {R"({\rtf1{\colortbl\red0\green0\blue0;\red255\green0\blue0;}a\cf1\cb1 b\cf0\cb0\chcbpat0\highlight0 c})",
       "ab<text #ff0000, on #ff0000>c"},
      {R"({\rtf1\ul a\strike b\ulnone c\striked0 d\uldb e\ul0 f})",
       "a<under 1>b<under 1, through 1>c<through 1>de<under 1>f"},
      // Paragraphs.
      {R"({\rtf1 a\li200\par b\pard\par})", "a\n<line 0 after 0 indent 10 10 0 tabs [] every 0>b\n"},
      {R"({\rtf1\pard\sl283\slmult1\sa120\fi-440\li660\ri440\tqr\tx900\tx660\tx900 a\par\pard\sl-240 b\ri-9 c})",
       "a\n<line 283 after 6 indent 11 33 -22 tabs [33, 45] every 0>bc"},
      {R"({\rtf1 a\page b\par\page\sect c})", "a\nb\nc"},
      {"{\\rtf1 a\\\nb\\\r\nc\\'0d\\'0ad}", "a\nb\nc\nd"},
      {R"({\rtf1 a\par})", "a\n"},
      {R"({\rtf1{\*\generator Other 1.0;}a\par\par})", "a\n"},
      {R"({\rtf1{\*\generator Other 1.0;}a\par}x)", "a"},
      // Fields, lists, tables.
      {R"({\rtf1 {\field{\*\fldinst{HYPERLINK "https://e.org/\u233?" }}{\fldrslt{\ul x}\plain y}}z})",
       "x<under 1, to https://e.org/é>y<to https://e.org/é>z"},
      {R"({\rtf1{\field{\*\fldinst hyperlink a.html \\l "b" \\o "tip \\"}{\fldrslt c}}{\field{\*\fldinst PAGE}{\fldrslt 7}}})",
       "c<to a.html#b>7"},
      {R"({\rtf1{\field{\*\fldinst HYPERLINK \\n "http://x" \\m \\h \\t "_top" y}{\fldrslt c}}})",
       "c<to http://x>"},
      {R"({\rtf1{\field{\*\fldinst HYPERLINK "o"}{\fldrslt a{\field{\*\fldinst HYPERLINK "i"}{\fldrslt b}}c}}\fldrslt\fldinst d})",
       "a<to o>b<to i>c<to o>"},
      {R"({\rtf1{\listtext\'95\tab}a\par{\pntext\pard 12)\tab}{\*\pn\pnlvlbody}b\par{\listtext  iv.\tab}c\par{\listtext\tab}d\par)"
       R"({\fonttbl{\f1\fcharset2 Wingdings;}}{\listtext\f1 l\tab}e\par{\listtext\u9642\'3f}f\par{\listtext 3\tab}g})",
       "•\ta\n12.\tb\niv.\tc\nd\n•\te\n•\tf\n3.\tg"},
      {R"({\rtf1\trowd\cellx9\cellx99\intbl a\cell b\par b\cell\row\intbl\cell c\cell\row\pard d})",
       "a\tb\nb\n\tc\nd"},
      {R"({\rtf1 a\nestcell b\nestcell{\*\nesttableprops\trowd x\nestrow}{\nonesttables\par}c\nestcell{\*\nesttableprops\nestrow}d\cell\row})",
       "a\tb\nc\nd\n"},
      // Damage.
      {R"({\rtf1 a{\b b)", "ab< 12 700>"},
      {R"({\rtf1 a}}}b)", "a"},
      {R"({\rtf1 a\'zz\)", "azz"},
      {R"({\rtf1 a\u)", "a\uFFFD"},
      {R"({\rtf1\fs99999999999\li-99999999999 \u99999999999 x)",
       "\uFFFD< 10000 400, line 0 after 0 indent -50000 -50000 0 tabs [] every 0>"},
      {R"({\rtf1\li-99999999999\fi-99999999999 x)",
       "x<line 0 after 0 indent -50000 -50000 0 tabs [] every 0>"},
      {R"({\rtf1 a\bin999 b})", "a"},
      {R"({\rtf1 {\field\fldrslt{\*\fldinst HYPERLINK "x")", ""},
      {R"({\rtf1{\fonttbl{\f0 A)", ""},
  };
}

/// Documents that ask for far more than they take, by saying what is long once and what repeats it over and
/// over.
inline std::vector<std::string> greedyRtf(std::size_t times) {
  const std::string link =
      R"({\rtf1{\field{\*\fldinst HYPERLINK ")" + std::string(8000, 'x') + R"("}{\fldrslt )";
  std::string stops = R"({\rtf1{{)";
  for (int stop = 0; stop < 100; ++stop) stops += "\\tx" + std::to_string(900'000 + stop);
  const auto repeated = [&](std::string rtf, std::string_view part) {
    for (std::size_t left = times; left > 0; --left) rtf += part;
    return rtf + "}}}";
  };
  return {repeated(link, R"(\li1 a\par\li2 b\par )"), repeated(link + "a}", R"({\fldrslt a}b)"),
          repeated(link, R"(a{\field{\*\fldinst HYPERLINK b}{\fldrslt b}})"),
          repeated(stops, R"(\li1\par\li2\par)"), repeated(R"({\rtf1{{)", R"({\b\ul b)")};
}

}  // namespace pell::testing
