#include "ZoneList.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <sstream>
#include <string>

namespace {

constexpr std::size_t kColumns = 5;
using Line = std::array<std::string, kColumns>;
using Widths = std::array<std::size_t, kColumns>;

// Three decimals: what six digits leave to a longitude of 100 degrees and more.
std::string Degrees(double angle, char positive, char negative) {
  std::ostringstream text;
  text.precision(3);
  text << std::fixed << std::abs(angle) << "°" << (angle < 0 ? negative : positive);
  return text.str();
}

Line ToLine(const Zone& zone) {
  return {std::to_string(zone.rank), zone.name, Degrees(zone.latitude, 'N', 'S'),
          Degrees(zone.longitude, 'E', 'W'), zone.comment};
}

// Characters, not bytes, which is what std::setw() would count: in UTF-8 every byte
// but a character's first one is 10xxxxxx. Wide and combining ones are beyond it.
std::size_t Width(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

Widths MeasureColumns(const std::vector<Line>& lines) {
  Widths widths{};
  for (const Line& line : lines) {
    for (std::size_t column = 0; column < kColumns; ++column) {
      widths[column] = std::max(widths[column], Width(line[column]));
    }
  }
  return widths;
}

std::string PadLeft(const std::string& text, std::size_t width) {
  return std::string(width - Width(text), ' ') + text;
}

std::string PadRight(const std::string& text, std::size_t width) {
  return text + std::string(width - Width(text), ' ');
}

}  // namespace

void PrintZones(std::ostream& out, const std::vector<Zone>& zones) {
  std::vector<Line> lines;
  lines.reserve(zones.size());
  for (const Zone& zone : zones) {
    lines.push_back(ToLine(zone));
  }
  const Widths widths = MeasureColumns(lines);
  for (const auto& [rank, name, latitude, longitude, comment] : lines) {
    out << "   " << PadLeft(rank, widths[0]) << "  " << PadRight(name, widths[1]) << "  "
        << PadLeft(latitude, widths[2]) << "  " << PadLeft(longitude, widths[3])
        << (comment.empty() ? "" : "  ") << comment << '\n';
  }
}
