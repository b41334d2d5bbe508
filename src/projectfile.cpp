// projectfile: reading and writing project files. The file is the comment line, the group
// "image" with the picture's file URI, "colors" with the border colour ("base"), and the
// groups "left" and "right" with three parallel integer lists each ("start", "height",
// "color"). Both input modes read and write their bars through the group functions here,
// so that the editor and any other reader take a file the same way.
//
// May touch: nothing but its arguments and the file it is told to read or write.
#include "projectfile.h"

#include <algorithm>

#include "support.h"

namespace {

constexpr std::array<const char *, 3> bar_keys{"start", "height", "color"};

// A colour index brought into 0..15, negative values included (-1 gives 15).
int wrap_color_index(int value) { return ((value % 16) + 16) % 16; }

// The URI of a picture path, made absolute first; null when it cannot be expressed.
OwnedString picture_uri(const char *path) {
  if (!path) return nullptr;
  OwnedString absolute(g_path_is_absolute(path) ? g_strdup(path) : nullptr);
  if (!absolute) {
    OwnedString here(g_get_current_dir());
    absolute.reset(g_build_filename(here.get(), path, nullptr));
  }
  return OwnedString(g_filename_to_uri(absolute.get(), nullptr, nullptr));
}

bool fits_picture_lines(const LineRun &bar) {
  return bar.start >= first_picture_line && static_cast<long long>(bar.start) + bar.height <= last_picture_line + 1;
}

}  // namespace

std::vector<LineRun> projectfile_read_bar_group(GKeyFile *key_file, const char *group) {
  std::array<gint *, 3> lists{};
  std::array<gsize, 3> lengths{};
  for (size_t k = 0; k < bar_keys.size(); ++k) {
    lists[k] = g_key_file_get_integer_list(key_file, group, bar_keys[k], &lengths[k], nullptr);
    if (!lists[k]) lengths[k] = 0;
  }
  const gsize n = *std::min_element(lengths.begin(), lengths.end());
  std::vector<LineRun> bars;
  for (gsize i = 0; i < n; ++i) bars.push_back({lists[0][i], lists[1][i], lists[2][i]});
  for (gint *list : lists) g_free(list);
  return bars;
}

void projectfile_write_bar_group(GKeyFile *key_file, const char *group, const std::vector<LineRun> &bars) {
  std::array<std::vector<gint>, 3> lists;
  for (const LineRun &bar : bars) {
    lists[0].push_back(bar.start);
    lists[1].push_back(bar.height);
    lists[2].push_back(bar.color);
  }
  gint none = 0;  // the library wants a list even when it is empty
  for (size_t k = 0; k < bar_keys.size(); ++k)
    g_key_file_set_integer_list(key_file, group, bar_keys[k], lists[k].empty() ? &none : lists[k].data(),
                                lists[k].size());
}

std::vector<LineRun> projectfile_extended_bars(GKeyFile *key_file, const char *group) {
  std::vector<LineRun> taken;
  for (LineRun bar : projectfile_read_bar_group(key_file, group)) {
    bar.color %= 16;  // with the sign of the stored value: a row always holds a colour 0..15
    if (fits_picture_lines(bar) && bar.color >= 0) taken.push_back(bar);
  }
  return taken;
}

void projectfile_compact_lines(GKeyFile *key_file, const char *group, int lines[RASTER_LINES]) {
  std::fill(lines, lines + RASTER_LINES, -1);
  for (const LineRun &bar : projectfile_read_bar_group(key_file, group)) {
    if (!fits_picture_lines(bar) || bar.height < 1) continue;
    const int colour = bar.color % 16;
    std::fill(lines + bar.start, lines + bar.start + bar.height, colour < 0 ? -1 : colour);
  }
}

int projectfile_read(const char *path, ProjectRecord *record, GError **error) {
  OwnedKeyFile key_file(g_key_file_new());
  if (!g_key_file_load_from_file(key_file.get(), path, G_KEY_FILE_KEEP_COMMENTS, error)) return 0;
  GKeyFile *file = key_file.get();
  *record = {};
  for (const char *group : {"image", "colors", "left", "right"})
    record->is_project = record->is_project || g_key_file_has_group(file, group);
  record->has_picture = g_key_file_has_key(file, "image", "file", nullptr);
  if (record->has_picture) {
    OwnedString value(g_key_file_get_string(file, "image", "file", nullptr));
    record->picture = value ? value.get() : "";
  }
  record->has_base = g_key_file_has_key(file, "colors", "base", nullptr);
  if (record->has_base) record->base = wrap_color_index(g_key_file_get_integer(file, "colors", "base", nullptr));
  for (int side : {1, 0}) {
    record->bars[side] = projectfile_extended_bars(file, projectfile_groups[side]);
    projectfile_compact_lines(file, projectfile_groups[side], record->lines[side].data());
  }
  return 1;
}

std::string projectfile_picture_path(const std::string &uri, const char *project_path) {
  OwnedString stored(g_filename_from_uri(uri.c_str(), nullptr, nullptr));
  if (stored && g_file_test(stored.get(), G_FILE_TEST_IS_REGULAR)) return stored.get();
  OwnedString base(g_path_get_basename(stored ? stored.get() : uri.c_str()));
  OwnedString folder(g_path_get_dirname(project_path));
  OwnedString beside(g_build_filename(folder.get(), base.get(), nullptr));
  if (stored && !g_file_test(beside.get(), G_FILE_TEST_IS_REGULAR)) return stored.get();
  return beside.get();
}

int projectfile_write(const char *path, const char *picture_path, int base,
                      const std::array<std::vector<LineRun>, 2> &bars, GError **error) {
  // The head is parsed as text, keeping comments, so that the comment line stays first.
  OwnedString uri = picture_uri(picture_path);
  OwnedString file_line(uri ? g_strdup_printf("file=%s\n", uri.get()) : g_strdup(""));
  OwnedString head(g_strdup_printf("# %s project file - do NOT edit\n[image]\n%s[colors]\nbase=%d\n",
                                   QUILLBAR_NAME_VERSION, file_line.get(), base));
  OwnedKeyFile key_file(g_key_file_new());
  if (!g_key_file_load_from_data(key_file.get(), head.get(), static_cast<gsize>(-1), G_KEY_FILE_KEEP_COMMENTS, nullptr))
    return 0;
  for (int side : {1, 0}) projectfile_write_bar_group(key_file.get(), projectfile_groups[side], bars[side]);
  gsize length = 0;
  OwnedString text(g_key_file_to_data(key_file.get(), &length, nullptr));
  return support_replace_file(path, text.get(), length, error);
}
