// bartables: writing the per-line colour tables in each of the formats of one table.
//
// Owns the format table; pure functions of the tables handed in, no state, no files.
#include "bartables.h"

#include <cstdio>
#include <cstring>

// clang-format off
const BarTableFormat bartables_formats[4] = {
    // name       extension filter name                        comment prologue                                      bytes
    {"acme",     ".a",   "  ACME source (.a) ",               ";",     nullptr,                                      "!byte"},
    {"ca65",     ".s",   "  ca65 source (.s) ",               ";",     ".export bars_left, bars_right, bars_border", ".byte"},
    {"kickass",  ".asm", "  KickAssembler source (.asm) ",    "//",    nullptr,                                      ".byte"},
    {"bin",      ".bin", "  Binary tables (.bin) ",           nullptr, nullptr,                                      nullptr},
};
// clang-format on

namespace {

constexpr int kBytesPerLine = 16;

// The bytes as directive lines of up to 16 values each.
void append_bytes(std::string *text, const BarTableFormat &format, const unsigned char *bytes, int count) {
  for (int i = 0; i < count; i++) {
    char value[8];
    std::snprintf(value, sizeof value, "$%02x", bytes[i]);
    *text += i % kBytesPerLine == 0 ? std::string("\t") + format.byte_directive + " " : std::string(",");
    *text += value;
    if (i % kBytesPerLine == kBytesPerLine - 1 || i == count - 1) *text += "\n";
  }
}

// A file name fit for a comment line: control characters become "?".
std::string printable(const char *name) {
  std::string shown = name ? name : "";
  for (char &c : shown)
    if (static_cast<unsigned char>(c) < ' ') c = '?';
  return shown;
}

}  // namespace

const BarTableFormat *bartables_format(const char *name) {
  for (const BarTableFormat &format : bartables_formats)
    if (name && std::strcmp(format.name, name) == 0) return &format;
  return nullptr;
}

std::string bartables_text(const BarTableFormat &format, const unsigned char left[picture_lines],
                           const unsigned char right[picture_lines], int border, const char *project_name) {
  const unsigned char border_byte = static_cast<unsigned char>(border);
  if (!format.byte_directive) {
    std::string bytes(reinterpret_cast<const char *>(left), picture_lines);
    bytes.append(reinterpret_cast<const char *>(right), picture_lines);
    return bytes + static_cast<char>(border_byte);
  }
  const std::string c = format.comment;
  std::string text = c + " Raster bars of " + printable(project_name) + ", made with Quillbar:\n" + c +
                     " the colour of raster lines " + std::to_string(first_picture_line) + ".." +
                     std::to_string(last_picture_line) +
                     " in the left, then in the right side border; then the border colour.\n";
  if (format.prologue) text += std::string("\t") + format.prologue + "\n";
  const struct {
    const char *label;
    const unsigned char *bytes;
    int count;
  } tables[] = {
      {"bars_left", left, picture_lines}, {"bars_right", right, picture_lines}, {"bars_border", &border_byte, 1}};
  for (const auto &table : tables) {
    text += std::string(table.label) + ":\n";
    append_bytes(&text, format, table.bytes, table.count);
  }
  return text;
}
