// quillbar-export without a display against the editor's exports; bad inputs; the menu commands.
#include <glib/gstdio.h>

#include <filesystem>

#include "bars_fixture.h"
#include "diskimage.h"
#include "exportcommands.h"
#include "file_commands.h"
#include "state.h"

namespace {

class ExportCli : public ExportTest {
 protected:
  void SetUp() override {
    ExportTest::SetUp();
    g_unsetenv("DISPLAY");                                    // for the programs it runs: the exporter needs none
    OwnedString folder(g_path_get_dirname(QUILLBAR_EXPORT));  // where the build writes the cruncher
    app_folder = g_strdup(folder.get());
    g_clear_pointer(&utf8_path_and_filename_project, g_free);
  }
  // A project the editor saved, of a hires picture with a bar on each side.
  std::string good_project() {
    write_file(dir.file("pic.art"), picture_file(0x2000, 9009));
    EXPECT_EQ(open_picture(dir.file("pic.art").c_str(), 1), 1);
    set_bars(1, {{60, 9, 2}});
    EXPECT_EQ(save_project_to_file(dir.file("good.ini").c_str()), 1);
    return dir.file("good.ini");
  }
};

}  // namespace

// Each picture kind in both modes, with a palette, re-encoding, table format and machine in turn:
// every output equals the editor's; the sources assemble to the raw tables; the D64 holds the
// crunched program under the project's name; --check finds the editor's bars.
TEST_F(ExportCli, WritesWhatTheEditorWrites) {
  const std::pair<const char *, Bytes> pictures[] = {{"hires.art", picture_file(0x2000, 9009)},
                                                     {"multi.kla", picture_file(0x6000, 10003)},
                                                     {"text.pet", picture_file(0x1928, 2005)}};
  const char *const palettes[][2] = {{"menuitem_palette_peptos", "pepto"},
                                     {"menuitem_palette_high_contrast", "high-contrast"},
                                     {"menuitem_palette_pixcen", "pixcen"},
                                     {"menuitem_palette_ccs64", "ccs64"}};
  const char *const machines[] = {"pal", "ntsc", "paln"};
  const char *const assemble[][2] = {{"acme", "acme -f plain --setpc 0 -o %s.out %s"},
                                     {"ca65", "ca65 -o %s.o %s && ld65 -t none -o %s.out %s.o"}};
  int row = 0;
  for (const auto &[file, bytes] : pictures) {
    for (const char *mode : {"menuitem_interface_extended", "menuitem_interface_compact"}) {
      const BarTableFormat &format = bartables_formats[row % 4];
      const std::string name = "demo-" + std::to_string(row), project = dir.file(name + ".ini");
      const std::string ours = dir.file(name + "-editor"), theirs = dir.file(name + "-cli");
      SCOPED_TRACE(name + " " + file + " " + mode + " " + format.name);
      rastermodel_delete_all_bars();
      rasterarray_delete_all_bars();
      activate(mode);
      write_file(dir.file(file), bytes);
      ASSERT_EQ(open_picture(dir.file(file).c_str(), 1), 1);
      activate(palettes[row % 4][0]);
      options_reencode_graphics = row % 2;
      border_color_index = row + 3;
      if (interface_extended) {
        set_bars(1, {{51, 10, 1}, {55, 30, 7}, {240, 11, 2}});
        set_bars(0, {{100, 1, 14}});
      } else {
        for (int line = 51; line <= 250; line += 3) colors_left[line] = line % 16;
        colors_right[250] = 9;
      }
      ASSERT_EQ(save_project_to_file(project.c_str()), 1);
      g_free(utf8_path_and_filename_project);
      utf8_path_and_filename_project = g_strdup(project.c_str());
      Bytes prg;
      ASSERT_EQ(export_build_executable(&prg), 1);
      write_file(ours + ".prg", prg);
      ASSERT_EQ(export_run_cruncher((ours + ".prg").c_str()), 1);
      ASSERT_EQ(export_png_to_file((ours + ".png").c_str()), 1);
      for (const BarTableFormat &f : bartables_formats)
        ASSERT_EQ(export_bar_tables_to_file((ours + f.extension).c_str(), f), 1);
      ASSERT_EQ(export_disk_image_to_file((ours + ".d64").c_str()), 1);

      std::vector<std::string> args = {QUILLBAR_EXPORT,      "--prg",    theirs + ".prg",           "--png",
                                       theirs + ".png",      "--tables", theirs + format.extension, "--format",
                                       format.name,          "--d64",    theirs + ".d64",           "--palette",
                                       palettes[row % 4][1], "--check",  machines[row % 3],         project};
      if (row % 2) args.push_back("--reencode");
      std::string output, errors;
      ASSERT_EQ(run(args, &output, &errors), 0) << errors;
      for (const std::string extension : {".prg", ".png", format.extension, ".d64"})
        EXPECT_EQ(read_bytes(theirs + extension), read_bytes(ours + extension)) << extension;
      EXPECT_NE(output.find(": Bars match the editor\n"), std::string::npos) << output;
      const std::vector<DiskFile> files = diskimage_directory(read_bytes(theirs + ".d64"));
      ASSERT_EQ(files.size(), 1u);
      EXPECT_EQ(files[0].name, name);
      EXPECT_EQ(files[0].bytes, read_bytes(theirs + ".prg"));
      for (const auto &[assembler, command] : assemble) {
        if (std::string(format.name) != assembler) continue;
        const std::string source = theirs + format.extension;
        OwnedString line(g_strdup_printf(command, source.c_str(), source.c_str(), source.c_str(), source.c_str()));
        ASSERT_EQ(run({"sh", "-c", line.get()}, nullptr, &errors), 0) << errors;
        EXPECT_EQ(read_bytes(source + ".out"), read_bytes(ours + ".bin"));
      }
      row++;
    }
  }
}

// Each bad input gets one line naming it and a non-zero status, and leaves only the earlier file.
TEST_F(ExportCli, BadInputsLeaveNothingBehind) {
  const std::string good = good_project();
  write_text(dir.file("damaged.ini"), "[image\nfile=");
  write_text(dir.file("other.ini"), "[settings]\nzoom=2\n");
  write_text(dir.file("lost.ini"), "[image]\nfile=file:///nowhere/lost.kla\n");
  const std::string out = dir.file("out/old.prg");
  const std::string cli = QUILLBAR_EXPORT;
  g_mkdir(dir.file("out").c_str(), 0755);
  const struct {
    const char *what;
    std::vector<std::string> args;
    int status;
    std::string message;
  } cases[] = {
      {"missing project", {cli, "--prg", out, dir.file("none.ini")}, 1, "none.ini: No such file"},
      {"damaged project", {cli, "--prg", out, dir.file("damaged.ini")}, 1, "damaged.ini: "},
      {"no project", {cli, "--prg", out, dir.file("other.ini")}, 1, "other.ini: The file is no Quillbar project"},
      {"missing picture", {cli, "--prg", out, dir.file("lost.ini")}, 1, "lost.ini: Failed to open file"},
      {"unwritable output", {cli, "--png", dir.file("gone/x.png"), good}, 1, "gone/x.png: Failed to create file"},
      {"unknown format", {cli, "--tables", out, "--format", "tass", good}, 2, "unknown value for --format: tass"},
      {"nothing asked", {cli, good}, 2, "nothing to do"},
      {"no project given", {cli, "--prg", out}, 2, "no project given"},
  };
  for (const auto &c : cases) {
    write_text(out, "old");
    std::string errors;
    EXPECT_EQ(run(c.args, nullptr, &errors), c.status) << c.what;
    EXPECT_NE(errors.find(c.message), std::string::npos) << c.what << ": " << errors;
    EXPECT_TRUE(c.status != 1 || std::count(errors.begin(), errors.end(), '\n') == 1) << c.what << ": " << errors;
    EXPECT_EQ(read_text(out), "old") << c.what;
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.file("out")), {}), 1) << c.what;
    EXPECT_FALSE(g_file_test(dir.file("gone").c_str(), G_FILE_TEST_EXISTS)) << c.what;
  }
  // With several projects the good one is still exported; a second of the same name is not.
  g_mkdir(dir.file("again").c_str(), 0755);
  write_text(dir.file("again/good.ini"), read_text(good));
  std::string errors;
  EXPECT_EQ(
      run({QUILLBAR_EXPORT, "--tables", dir.file("tables"), good, dir.file("lost.ini"), dir.file("again/good.ini")},
          nullptr, &errors),
      1);
  EXPECT_EQ(read_bytes(dir.file("tables/good.bin")).size(), 2u * picture_lines + 1) << errors;
  EXPECT_FALSE(g_file_test(dir.file("tables/lost.bin").c_str(), G_FILE_TEST_EXISTS));
  EXPECT_NE(errors.find("again/good.ini: its outputs would overwrite those of"), std::string::npos) << errors;
}

// Export bar tables writes the format of the filter picked; Export to disk image a D64.
TEST_F(ExportCli, MenuCommandsWriteWhatTheirChoosersSay) {
  good_project();
  answer_next_dialog(GTK_RESPONSE_OK, [this](GtkWidget *dialog) {
    GSList *filters = gtk_file_chooser_list_filters(GTK_FILE_CHOOSER(dialog));
    gtk_file_chooser_set_filter(GTK_FILE_CHOOSER(dialog), GTK_FILE_FILTER(g_slist_nth_data(filters, 1)));
    g_slist_free(filters);
    choose_path(dialog, dir.file("bars"));
  });
  activate("menuitem_export_bar_tables");
  EXPECT_NE(read_text(dir.file("bars.s")).find("\t.export bars_left"), std::string::npos);
  answer_next_dialog(GTK_RESPONSE_OK, [this](GtkWidget *dialog) { choose_path(dialog, dir.file("disk")); });
  activate("menuitem_export_disk_image");
  EXPECT_EQ(diskimage_directory(read_bytes(dir.file("disk.d64"))).at(0).name, "pic");
}
