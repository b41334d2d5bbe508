// prgexport: builds the PRG from a picture record, the per-line colour tables and the
// border colour: the load address, the player template of the picture's kind
// (prg_templates.h), the tables, the border colour and the graphics where the template
// expects them. Runs the external cruncher on a written PRG.
//
// May touch: nothing but its arguments, the file it is told to crunch and temporary folders
// of its own.
#include "prgexport.h"

#include <glib/gstdio.h>
#include <sys/wait.h>

#include <algorithm>
#include <string>

#include "reencode.h"
#include "support.h"

const PrgKind *prgexport_kind(unsigned int format) {
  switch (hiresdecoder_picture_kind(format)) {
    case PictureKind::petscii: return &prg_petscii;
    case PictureKind::hires: return &prg_hires;
    case PictureKind::multicolor: return &prg_mc;
    case PictureKind::none: break;
  }
  return nullptr;
}

std::vector<unsigned char> prgexport_build(const PrgKind &kind, const PictureData &picture,
                                           const unsigned char left[picture_lines],
                                           const unsigned char right[picture_lines], int border, int reencode) {
  std::vector<unsigned char> prg = prg_player_bytes(kind);
  if (kind.has_charset && picture.charset != 0) prg[prg_offset(prg_charset_operand)] = prg_lower_case;
  prg[prg_offset(prg_border)] = static_cast<unsigned char>(border);
  std::copy(left, left + picture_lines, prg.begin() + prg_offset(prg_left_table));
  std::copy(right, right + picture_lines, prg.begin() + prg_offset(prg_right_table));

  const PictureData *graphics = &picture;
  PictureData reencoded{};
  if (kind.may_reencode && reencode != 0) {
    reencode_process_picture_mc(&picture, &reencoded);
    graphics = &reencoded;
  }
  auto put = [&](unsigned address, const unsigned char *data, std::size_t size) {
    if (address) std::copy(data, data + size, prg.begin() + prg_offset(address));
  };
  put(kind.bitmap, graphics->bitmap, sizeof graphics->bitmap);
  put(kind.screen, graphics->screen, sizeof graphics->screen);
  put(kind.color, graphics->color, sizeof graphics->color);
  if (kind.background) prg[prg_offset(kind.background)] = graphics->background & 15;
  return prg;
}

int prgexport_run_cruncher(const char *folder, const char *filename, GError **error) {
  // One argument per word, so that any file name (quotes and spaces included) reaches the
  // cruncher whole.
  OwnedString program(g_build_filename(folder ? folder : ".", "exomizer", nullptr));
  std::string start = std::to_string(prg_start);
  char *argv[] = {program.get(),
                  const_cast<char *>("sfx"),
                  start.data(),
                  const_cast<char *>(filename),
                  const_cast<char *>("-o"),
                  const_cast<char *>(filename),
                  const_cast<char *>("-n"),
                  nullptr};
  int status = -1;
  if (!g_spawn_sync(nullptr, argv, nullptr, G_SPAWN_CHILD_INHERITS_STDIN, nullptr, nullptr, nullptr, nullptr, &status,
                    error))
    return -1;
  return status;
}

int prgexport_crunch(const char *folder, const std::vector<unsigned char> &prg, std::vector<unsigned char> *crunched,
                     GError **error) {
  OwnedString work(g_dir_make_tmp("quillbar-crunch-XXXXXX", error));
  if (!work) return 0;
  OwnedString file(g_build_filename(work.get(), "program.prg", nullptr));
  int done = 0;
  if (g_file_set_contents(file.get(), reinterpret_cast<const char *>(prg.data()), static_cast<gssize>(prg.size()),
                          error)) {
    const int status = prgexport_run_cruncher(folder, file.get(), error);
    gchar *bytes = nullptr;
    gsize length = 0;
    if (status > 0)
      g_set_error(error, G_FILE_ERROR, G_FILE_ERROR_FAILED, "The cruncher failed (exit status %d)",
                  WIFEXITED(status) ? WEXITSTATUS(status) : status);
    else if (status == 0 && g_file_get_contents(file.get(), &bytes, &length, error))
      crunched->assign(bytes, bytes + length), done = 1;
    g_free(bytes);
  }
  g_remove(file.get());
  g_rmdir(work.get());
  return done;
}
