// Between UTF-8, in which texts are stored and sent, and UTF-16, in which editors count.
#pragma once

#include <string>
#include <string_view>

namespace pell {

// Ill-formed sequences become U+FFFD. Any thread.
std::u16string utf16Of(std::string_view utf8);
std::string utf8Of(std::u16string_view utf16);
void appendUtf8(std::string& utf8, std::u16string_view utf16);

}  // namespace pell
