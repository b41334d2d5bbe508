// exportcli: quillbar-export. Reads each project with the editor's own project reader, finds
// and decodes its picture as the editor does, and writes the outputs asked for with the
// editor's export functions; every file is made whole in memory (or in a temporary folder)
// and replaces its target only when complete.
//
// May touch: the palette option (the picture is rendered in the chosen palette), the files
// named on the command line and temporary folders of its own; no window, no configuration.
#include "exportcli.h"

#include <glib/gstdio.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bartables.h"
#include "c64pixbufs.h"
#include "diskimage.h"
#include "hiresdecoder.h"
#include "pngexport.h"
#include "prgexport.h"
#include "projectfile.h"
#include "rastermodel.h"
#include "startup.h"
#include "state.h"
#include "support.h"
#include "verdict.h"

namespace {

// What the command line asks for.
struct ExportOptions {
  const char *prg = nullptr, *png = nullptr, *tables = nullptr, *d64 = nullptr;  // null: not wanted
  bool crunch = true;
  const BarTableFormat *format = bartables_format("bin");
  int palette = 0;  // as options_palette numbers them
  int reencode = 0;
  bool check = false;
  Vic2Model check_model = VIC2_PAL_6569;
  std::vector<const char *> projects;
};

constexpr const char *kProgram = "quillbar-export";
constexpr int kExitFailed = 1, kExitUsage = 2;

const char *const kUsage =
    "usage: quillbar-export [--prg OUT.prg] [--no-crunch] [--png OUT.png] [--tables OUT]\n"
    "                       [--format bin|acme|ca65|kickass] [--d64 OUT.d64]\n"
    "                       [--palette pepto|high-contrast|pixcen|ccs64] [--reencode]\n"
    "                       [--check pal|ntsc|paln] PROJECT.ini...\n"
    "With several projects each OUT is a folder, which gets one file per project.\n";

// Names a value of the command line stands for.
struct Named {
  const char *name;
  int value;
};
constexpr Named kPalettes[] = {{"pepto", 0}, {"high-contrast", 1}, {"pixcen", 2}, {"ccs64", 3}};
constexpr Named kMachines[] = {{"pal", VIC2_PAL_6569}, {"ntsc", VIC2_NTSC_6567R8}, {"paln", VIC2_PALN_6572}};

template <std::size_t N>
bool lookup(const Named (&table)[N], const char *name, int *value) {
  for (const Named &entry : table)
    if (std::strcmp(entry.name, name) == 0) return (*value = entry.value), true;
  return false;
}

// The options: those with a value take the next word; each applies its word, false when it
// is not one of the option's values.
struct Option {
  const char *name;
  bool takes_value;
  bool (*apply)(ExportOptions *options, const char *value);
};
const Option kOptions[] = {
    {"--prg", true, [](ExportOptions *o, const char *v) { return (o->prg = v), true; }},
    {"--png", true, [](ExportOptions *o, const char *v) { return (o->png = v), true; }},
    {"--tables", true, [](ExportOptions *o, const char *v) { return (o->tables = v), true; }},
    {"--d64", true, [](ExportOptions *o, const char *v) { return (o->d64 = v), true; }},
    {"--no-crunch", false, [](ExportOptions *o, const char *) { return !(o->crunch = false); }},
    {"--reencode", false, [](ExportOptions *o, const char *) { return (o->reencode = 1), true; }},
    {"--format", true, [](ExportOptions *o, const char *v) { return (o->format = bartables_format(v)) != nullptr; }},
    {"--palette", true, [](ExportOptions *o, const char *v) { return lookup(kPalettes, v, &o->palette); }},
    {"--check", true,
     [](ExportOptions *o, const char *v) {
       int model = 0;
       if (!lookup(kMachines, v, &model)) return false;
       o->check_model = static_cast<Vic2Model>(model);
       return o->check = true;
     }},
};

// A project read and its picture decoded, with what the exports take from them.
struct Project {
  std::string path;
  std::string name;  // the file's base name without its extension
  PictureData picture{};
  OwnedPixbuf pixbuf;
  EditorBorders editor;  // the bars as Extended mode, the editor's default, holds them
  unsigned char left[picture_lines], right[picture_lines];
  std::vector<unsigned char> program;   // uncompressed
  std::vector<unsigned char> crunched;  // made by the cruncher when first needed
};

std::string base_name_without_extension(const char *path) {
  OwnedString base(g_path_get_basename(path));
  if (char *dot = std::strrchr(base.get(), '.')) *dot = '\0';
  return base.get();
}

// Reads the project at `path` and the picture it names, as Open project does.
bool load_project(const char *path, int reencode, Project *project, GError **error) {
  ProjectRecord record;
  if (!projectfile_read(path, &record, error)) return false;
  if (!record.is_project || !record.has_picture) {
    g_set_error(error, G_FILE_ERROR, G_FILE_ERROR_INVAL, "%s",
                record.is_project ? "The project names no picture" : "The file is no Quillbar project");
    return false;
  }
  project->path = path;
  project->name = base_name_without_extension(path);
  const std::string picture = projectfile_picture_path(record.picture, path);
  project->picture.border = -1;
  GdkPixbuf *pixbuf = nullptr;
  if (hiresdecoder_decode_hires_screen_file(picture.c_str(), 0, &pixbuf, &project->picture, error) != 1) return false;
  project->pixbuf.reset(pixbuf);
  // The border colour: the picture's own, unless the project sets one.
  int border = project->picture.border != -1 ? project->picture.border % 16 : 0;
  if (record.has_base) border = record.base;
  project->editor.border = border;
  // The rows in list order: sorted by start line, rows of equal start in file order.
  for (int side : {side_left, side_right}) {
    std::vector<LineRun> rows = record.bars[side];
    std::stable_sort(rows.begin(), rows.end(), [](const LineRun &a, const LineRun &b) { return a.start < b.start; });
    project->editor.bars[side] = rows;
  }
  rastermodel_table_of_rows(project->editor.bars[side_left], project->left, border);
  rastermodel_table_of_rows(project->editor.bars[side_right], project->right, border);
  const PrgKind *kind = prgexport_kind(project->picture.format);
  if (!kind) {
    g_set_error(error, G_FILE_ERROR, G_FILE_ERROR_INVAL, "The picture has no kind that can be exported");
    return false;
  }
  project->program = prgexport_build(*kind, project->picture, project->left, project->right, border, reencode);
  return true;
}

// The program as --prg writes it: crunched unless told otherwise.
const std::vector<unsigned char> *program(Project *project, const ExportOptions &options, GError **error) {
  if (!options.crunch) return &project->program;
  if (project->crunched.empty() && !prgexport_crunch(app_folder, project->program, &project->crunched, error))
    return nullptr;
  return &project->crunched;
}

int write_bytes(const char *path, const std::vector<unsigned char> &bytes, GError **error) {
  return support_replace_file(path, reinterpret_cast<const char *>(bytes.data()), bytes.size(), error);
}

// The outputs, in the order they are written: where the path comes from, the extension of a
// file made in a folder, and the writer.
struct Output {
  const char *ExportOptions::*path;
  const char *(*extension)(const ExportOptions &);
  int (*write)(Project *, const ExportOptions &, const char *path, GError **);
};
const Output kOutputs[] = {
    {&ExportOptions::prg, [](const ExportOptions &) { return ".prg"; },
     [](Project *p, const ExportOptions &o, const char *path, GError **e) {
       const std::vector<unsigned char> *bytes = program(p, o, e);
       return bytes ? write_bytes(path, *bytes, e) : 0;
     }},
    {&ExportOptions::png, [](const ExportOptions &) { return ".png"; },
     [](Project *p, const ExportOptions &o, const char *path, GError **e) {
       Surface image(pngexport_compose(p->pixbuf.get(), p->editor, o.palette));
       return pngexport_write(image.get(), path, e);
     }},
    {&ExportOptions::tables, [](const ExportOptions &o) { return o.format->extension; },
     [](Project *p, const ExportOptions &o, const char *path, GError **e) {
       OwnedString name(g_path_get_basename(p->path.c_str()));
       const std::string text = bartables_text(*o.format, p->left, p->right, p->editor.border, name.get());
       return support_replace_file(path, text.data(), text.size(), e);
     }},
    {&ExportOptions::d64, [](const ExportOptions &) { return ".d64"; },
     [](Project *p, const ExportOptions &o, const char *path, GError **e) {
       const std::vector<unsigned char> *bytes = program(p, o, e);
       return bytes ? diskimage_write(path, *bytes, p->name, e) : 0;
     }},
};

// Where an output of `project` goes: the path given, or with several projects (or a folder
// given) the project's name with the output's extension in that folder, which is made.
std::string output_path(const char *given, bool several, const Project &project, const char *extension,
                        GError **error) {
  if (!several && !g_file_test(given, G_FILE_TEST_IS_DIR)) return given;
  if (g_mkdir_with_parents(given, 0755) != 0) {
    support_file_error(error, "Failed to create folder", given, errno);
    return "";
  }
  OwnedString path(g_build_filename(given, (project.name + extension).c_str(), nullptr));
  return path.get();
}

// "251-282, 290" for the lines 251..282 and 290.
std::string line_ranges(const std::vector<int> &lines) {
  std::string text;
  for (std::size_t i = 0; i < lines.size();) {
    std::size_t j = i;
    while (j + 1 < lines.size() && lines[j + 1] == lines[j] + 1) j++;
    text += (text.empty() ? "" : ", ") + std::to_string(lines[i]);
    if (j > i) text += "-" + std::to_string(lines[j]);
    i = j + 1;
  }
  return text;
}

// The lines a project's export prints, kept until they are printed in project order.
struct Report {
  std::string errors, output;
  bool ok = true;
  void fail(const std::string &where, const char *message) {
    errors += std::string(kProgram) + ": " + where + ": " + message + "\n";
    ok = false;
  }
};

// Every output of one project, then its check.
void export_project(Project *project, const ExportOptions &options, Report *report) {
  const bool several = options.projects.size() > 1;
  GError *error = nullptr;
  for (const Output &output : kOutputs) {
    const char *given = options.*output.path;
    if (!given) continue;
    const std::string target = output_path(given, several, *project, output.extension(options), &error);
    if (target.empty() || !output.write(project, options, target.c_str(), &error))
      report->fail(target.empty() ? given : target, error ? error->message : "The file could not be written");
    g_clear_error(&error);
  }
  if (!options.check) return;
  Verdict verdict;
  std::string failure;
  const std::string &path = project->path;
  if (!verdict_run(project->program, options.check_model, preview_fast_forward_frames, project->editor, &verdict,
                   &failure))
    return report->fail(path, failure.c_str());
  report->output += path + ": " + vic2_models[options.check_model].name + ": " + verdict_text(verdict) + "\n";
  if (verdict.lines.empty()) return;
  report->output += path + ": differing lines: " + line_ranges(verdict.lines) + "\n";
  report->ok = false;
}

// Reads every project first, one after the other (decoding sets shared state), then exports
// them on as many threads as there are processors: the cruncher runs take most of the time.
bool export_all(const ExportOptions &options) {
  const std::size_t count = options.projects.size();
  std::vector<Project> projects(count);
  std::vector<Report> reports(count);
  std::vector<std::size_t> loaded;
  for (std::size_t i = 0; i < count; i++) {
    GError *error = nullptr;
    if (load_project(options.projects[i], options.reencode, &projects[i], &error))
      loaded.push_back(i);
    else
      reports[i].fail(options.projects[i], OwnedError(error)->message);
  }
  // Two projects of one name would write the same files in each output folder.
  std::map<std::string, std::size_t> first_of_name;
  std::erase_if(loaded, [&](std::size_t i) {
    const auto [first, fresh] = first_of_name.emplace(projects[i].name, i);
    if (!fresh)
      reports[i].fail(options.projects[i],
                      (std::string("its outputs would overwrite those of ") + options.projects[first->second]).c_str());
    return !fresh;
  });
  std::atomic<std::size_t> next{0};
  auto work = [&] {
    for (std::size_t k; (k = next++) < loaded.size();)
      export_project(&projects[loaded[k]], options, &reports[loaded[k]]);
  };
  std::vector<std::thread> workers;
  const std::size_t threads = std::min<std::size_t>(g_get_num_processors(), loaded.size());
  for (std::size_t t = 1; t < threads; t++) workers.emplace_back(work);
  work();
  for (std::thread &worker : workers) worker.join();
  bool ok = true;
  for (const Report &report : reports) {
    std::fputs(report.output.c_str(), stdout);
    std::fputs(report.errors.c_str(), stderr);
    ok = ok && report.ok;
  }
  return ok;
}

// Reads the command line (argv[0] is the program); false with `error` saying what is wrong.
bool parse_arguments(int argc, char **argv, ExportOptions *options, std::string *error) {
  for (int i = 1; i < argc; i++) {
    const char *word = argv[i];
    if (word[0] != '-' || word[1] == '\0') {
      options->projects.push_back(word);
      continue;
    }
    const Option *option = nullptr;
    for (const Option &candidate : kOptions)
      if (std::strcmp(candidate.name, word) == 0) option = &candidate;
    if (!option) return (*error = std::string("unknown option ") + word), false;
    const char *value = nullptr;
    if (option->takes_value) {
      if (++i == argc) return (*error = std::string(word) + " needs a value"), false;
      value = argv[i];
    }
    if (!option->apply(options, value))
      return (*error = std::string("unknown value for ") + word + ": " + value), false;
  }
  if (options->projects.empty()) return (*error = "no project given"), false;
  if (!options->prg && !options->png && !options->tables && !options->d64 && !options->check)
    return (*error = "nothing to do: give --prg, --png, --tables, --d64 or --check"), false;
  return true;
}

}  // namespace

int exportcli_main(int argc, char **argv) {
  ExportOptions options;
  std::string error;
  if (argc > 1 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  if (!parse_arguments(argc, argv, &options, &error)) {
    std::fprintf(stderr, "%s: %s\n%s", kProgram, error.c_str(), kUsage);
    return kExitUsage;
  }
  // The cruncher is looked for beside this program, as the editor looks for it beside itself.
  startup_set_app_folder(argc > 0 ? argv[0] : nullptr);
  options_palette = options.palette;
  c64pixbufs_module_init();  // PETSCII pictures are drawn with the character sets
  return export_all(options) ? 0 : kExitFailed;
}
