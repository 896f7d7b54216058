#include "Text.h"

#include <utf8proc.h>

#include <cstdio>
#include <map>

namespace vorndb {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";
constexpr char kEllipsis[] = "\xE2\x80\xA6";

// One character of a text: its code, or -1 for a byte that is no UTF-8, and its length.
struct Character {
  utf8proc_int32_t code;
  std::size_t length;
};

Character CharacterAt(const std::string& text, std::size_t position) {
  utf8proc_int32_t code = -1;
  const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data() + position);
  const utf8proc_ssize_t length =
      utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size() - position), &code);
  return length > 0 ? Character{code, static_cast<std::size_t>(length)} : Character{-1, 1};
}

// Controls, line and paragraph separators, and changes of direction.
bool IsActing(utf8proc_int32_t code) {
  const utf8proc_category_t category = utf8proc_category(code);
  return category == UTF8PROC_CATEGORY_CC || category == UTF8PROC_CATEGORY_ZL ||
         category == UTF8PROC_CATEGORY_ZP || (code >= 0x202A && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069) || code == 0x200E || code == 0x200F || code == 0x61C;
}

std::string Escape(utf8proc_int32_t code) {
  static const std::map<utf8proc_int32_t, const char*> named{
      {'\n', "\\n"}, {'\r', "\\r"}, {'\t', "\\t"}};
  if (const auto found = named.find(code); found != named.end()) {
    return found->second;
  }
  char text[16];
  static_cast<void>(std::snprintf(text, sizeof text, code < 0x100 ? "\\x%02X" : "\\u%04X",
                                  static_cast<unsigned>(code)));
  return text;
}

// The end of the longest beginning that is not wider, and its width.
struct Beginning {
  std::size_t end = 0;
  std::size_t width = 0;
};

Beginning Measure(const std::string& text, std::size_t most) {
  Beginning measured;
  while (measured.end < text.size()) {
    const Character character = CharacterAt(text, measured.end);
    const auto width = static_cast<std::size_t>(utf8proc_charwidth(character.code));
    if (width > most - measured.width) {
      break;
    }
    measured.end += character.length;
    measured.width += width;
  }
  return measured;
}

}  // namespace

std::string Printable(const std::string& text) {
  std::string printable;
  for (std::size_t position = 0; position < text.size();) {
    const Character character = CharacterAt(text, position);
    if (character.code < 0) {
      printable += kReplacement;
    } else if (IsActing(character.code)) {
      printable += Escape(character.code);
    } else {
      printable.append(text, position, character.length);
    }
    position += character.length;
  }
  return printable;
}

std::string CountedRows(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " row" : " rows");
}

std::size_t DisplayWidth(const std::string& text) { return Measure(text, std::string::npos).width; }

std::string CutToWidth(const std::string& text, std::size_t width) {
  if (DisplayWidth(text) <= width) {
    return text;
  }
  // The ellipsis takes a column of its own.
  return text.substr(0, Measure(text, width - 1).end) + kEllipsis;
}

}  // namespace vorndb
