// The cruncher on the editor's export programs: for each sample picture (or each picture
// given) and for generated pictures, the export PRG with a few bars is crunched and run on
// the 6502 core. Prints input size, crunched size (total and stream), decrunch cycles per
// output byte and crunch time, with multicolour re-encoding off and on, the sums, where the
// crunched bytes go, and the sample pictures' sums beside those of public crunchers measured
// on the same programs (scripts/plot-cruncher draws them).
//
// Usage: quillbar-bench-cruncher [PICTURE...]   (default: the sample pictures, if present)
#include <glib.h>
#include <glib/gstdio.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "c64pixbufs.h"
#include "callbacks.h"
#include "cruncher.h"
#include "hiresdecoder.h"
#include "options.h"
#include "rasterarray.h"
#include "sfxrun.h"
#include "state.h"

namespace {

// Public 6502 crunchers on the 20 sample pictures' export PRGs (re-encoding off), each
// crunched program run from its SYS line to $080D; the source and date are in
// docs/performance.md.
struct Peer {
  const char *name;
  size_t total_bytes;
  double mean_cycles_per_byte;  // over the 20 files, cycles / program bytes
};
constexpr Peer kPeers[] = {
    {"exomizer 3.1.1 sfx 2061 -n (reference)", 88700, 62.03},
    {"dali 0.3.5 --sfx (ZX0)", 88657, 34.81},
    {"dali --sfx --small", 87477, 36.06},
    {"ZX0 (salvador -classic) + copy loop", 88397, 35.93},
    {"ZX02 fast2", 88649, 39.40},
    {"ZX02 optim", 87969, 46.70},
    {"LZSA2 fast", 93988, 33.25},
    {"ByteBoozer 2", 90586, 61.82},
    {"TSCrunch 1.3.2", 99184, 22.09},
    {"ours before this format", 92123, 34.69},
    {"ours before the zero-page decruncher", 89723, 34.36},
    {"ours on 2026-11-24", 88344, 34.45},
};
constexpr size_t kReferenceBytes = kPeers[0].total_bytes;

struct Totals {
  size_t pictures = 0, input = 0, output = 0, stream = 0;
  size_t decruncher = 0, tail = 0, literal_bytes = 0, literal_bits = 0, match_bits = 0, tokens = 0;
  uint64_t cycles = 0;
  double seconds = 0, worst = 0, worst_cpu = 0, cycles_per_byte = 0;  // the last summed over the programs
  void add(const Totals &t) {
    pictures += t.pictures, input += t.input, output += t.output, stream += t.stream, decruncher += t.decruncher;
    tail += t.tail, literal_bytes += t.literal_bytes, literal_bits += t.literal_bits, match_bits += t.match_bits;
    tokens += t.tokens, cycles += t.cycles, seconds += t.seconds, worst = std::max(worst, t.worst);
    worst_cpu = std::max(worst_cpu, t.worst_cpu);
    cycles_per_byte += t.cycles_per_byte;
  }
};

// Three bars a side, as an artist might start: Compact mode lines.
void paint_a_few_bars() {
  interface_extended = 0;
  rasterarray_delete_all_bars();
  const int bars[][4] = {{60, 8, 2, 6}, {120, 16, 7, 14}, {200, 12, 5, 3}};  // line, height, left, right colour
  for (const auto &b : bars)
    for (int line = b[0]; line < b[0] + b[1]; ++line) {
      colors_left[line] = b[2];
      colors_right[line] = b[3] + (line & 1);
    }
}

std::vector<uint8_t> export_prg(const std::string &dir) {
  const std::string path = dir + "/export.prg";
  int (*write)(const char *) = picture_data.format == 1   ? export_petscii_to_executable
                               : picture_data.format <= 5 ? export_hires_to_executable
                                                          : export_mc_to_executable;
  std::vector<uint8_t> prg;
  gchar *bytes = nullptr;
  gsize length = 0;
  if (write(path.c_str()) == 1 && g_file_get_contents(path.c_str(), &bytes, &length, nullptr))
    prg.assign(bytes, bytes + length);
  g_free(bytes);
  return prg;
}

void crunch_and_run(const std::string &name, const std::vector<uint8_t> &prg, Totals *totals) {
  std::vector<uint8_t> out;
  std::string error;
  CrunchStats stats;
  const auto begin = std::chrono::steady_clock::now();
  const std::clock_t cpu_begin = std::clock();
  const bool ok = cruncher_crunch(prg, 2061, &out, &error, &stats);
  const double cpu = static_cast<double>(std::clock() - cpu_begin) / CLOCKS_PER_SEC;  // processor time
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  SfxRun run;
  if (!ok || !sfx_run(out, 2061, &run) || !run.reached) {
    std::printf("%-22s FAILED %s\n", name.c_str(), error.c_str());
    return;
  }
  std::printf("%-22s %6zu %6zu %6zu %5zu %9llu %6.1f %7.1f\n", name.c_str(), stats.input_bytes + 2, stats.output_bytes,
              stats.stream_bytes, stats.literal_bytes, static_cast<unsigned long long>(run.cycles),
              static_cast<double>(run.cycles) / static_cast<double>(stats.input_bytes), seconds * 1000);
  totals->add({1, stats.input_bytes + 2, stats.output_bytes, stats.stream_bytes, stats.decruncher_bytes,
               stats.tail_bytes, stats.literal_bytes, stats.literal_bits, stats.match_bits,
               stats.literal_runs + stats.repeat_matches + stats.new_matches, run.cycles, seconds, seconds, cpu,
               static_cast<double>(run.cycles) / static_cast<double>(stats.input_bytes)});
}

void print_totals(const char *what, const Totals &t) {
  if (!t.pictures) return;
  std::printf(
      "%-22s %6zu %6zu %6zu       %9llu %6.1f %7.1f  (%zu programs, slowest crunch %.0f ms, %.0f ms processor)\n", what,
      t.input, t.output, t.stream, static_cast<unsigned long long>(t.cycles),
      static_cast<double>(t.cycles) / static_cast<double>(t.input - 2 * t.pictures), t.seconds * 1000, t.pictures,
      t.worst * 1000, t.worst_cpu * 1000);
  std::printf(
      "%-22s where the bytes go: decruncher %zu, tail %zu, literal bytes %zu, literal run codes %zu,"
      " match codes %zu (bits / 8); %zu tokens\n",
      "", t.decruncher + 2 * t.pictures, t.tail, t.literal_bytes, t.literal_bits / 8, t.match_bits / 8, t.tokens);
}

// The sample pictures' sums beside the public crunchers': total bytes and the mean over the
// programs of decrunch cycles per program byte.
void print_beside_peers(const Totals &ours) {
  if (ours.pictures != 20) return;  // the figures are for the 20 sample pictures
  std::printf("-- beside public crunchers (sample pictures, re-encoding off)\n%-44s %7s %8s %6s\n", "cruncher", "bytes",
              "vs ref", "cyc/B");
  auto row = [](const char *name, size_t bytes, double cycles) {
    std::printf("%-44s %7zu %+7.1f%% %6.2f\n", name, bytes,
                100.0 * (static_cast<double>(bytes) / static_cast<double>(kReferenceBytes) - 1), cycles);
  };
  row("ours", ours.output, ours.cycles_per_byte / static_cast<double>(ours.pictures));
  for (const Peer &peer : kPeers) row(peer.name, peer.total_bytes, peer.mean_cycles_per_byte);
}

// A generated picture: smooth bands, a dithered gradient and a checkerboard, in each kind.
void generate_picture(int kind) {
  picture_data = PictureData{};
  picture_data.format = kind == 0 ? 2 : kind == 1 ? 6 : 1;
  for (int i = 0; i < 8000; ++i) {
    const int cell = i / 8, row = i % 8, x = cell % 40, y = cell / 40 * 8 + row;
    picture_data.bitmap[i] = static_cast<unsigned char>(y < 60    ? 0x00
                                                        : y < 120 ? ((x + y) & 1 ? 0x55 : 0xAA)
                                                                  : (x * 7 + y * 3) * 37 >> 3);
  }
  for (int i = 0; i < 1000; ++i) {
    picture_data.screen[i] =
        static_cast<unsigned char>(kind == 2 ? 0x20 + (i * 13 % 64) : 0x10 * (i / 40 % 16) + (i % 40 / 5));
    picture_data.color[i] = static_cast<unsigned char>(i / 200 + 1);
  }
  picture_data.background = 0;
}

}  // namespace

int main(int argc, char **argv) {
  c64pixbufs_module_init();
  gchar *dir = g_dir_make_tmp("quillbar-bench-XXXXXX", nullptr);
  std::vector<std::string> pictures(argv + 1, argv + argc);
  if (pictures.empty()) {
    const char *names[] = {"aas2-1.ocp",         "aas2-2.mpic",        "aas2-3.mpic",        "artstudio-1.aas",
                           "artstudio-2.art",    "artstudio-3.art",    "artstudio-4.art",    "blazing-1.pi",
                           "doodle-1.dd",        "doodle-2.dd",        "interpaint-1.ip64h", "interpaint-2.ip64h",
                           "interpaint-3.ip64h", "interpaint-4.ip64h", "koala-1.kla",        "koala-2.koa",
                           "koala-3.koa",        "koala-4.kla",        "vidcom-1.vid",       "wigmore-1.a64"};
    for (const char *name : names) {
      const std::string path = std::string(QUILLBAR_SHARED_DIR) + "/pictures/" + name;
      if (g_file_test(path.c_str(), G_FILE_TEST_EXISTS)) pictures.push_back(path);
    }
  }
  border_color_index = 6;
  paint_a_few_bars();
  std::printf("%-22s %6s %6s %6s %5s %9s %6s %7s\n", "program", "input", "output", "stream", "lits", "cycles", "cyc/B",
              "ms");
  for (int reencode : {0, 1}) {
    options_reencode_graphics = reencode;
    std::printf("-- multicolour re-encoding %s\n", reencode ? "on" : "off");
    Totals samples, hires, mc;
    for (const std::string &path : pictures) {
      GdkPixbuf *image = nullptr;
      if (!hiresdecoder_decode_hires_screen_file(path.c_str(), 0, &image, &picture_data, nullptr)) {
        std::printf("%s: not a picture\n", path.c_str());
        continue;
      }
      g_object_unref(image);
      gchar *name = g_path_get_basename(path.c_str());
      crunch_and_run(name, export_prg(dir), picture_data.format <= 5 ? &hires : &mc);
      g_free(name);
    }
    print_totals("hires", hires);
    print_totals("multicolour", mc);
    samples.add(hires);
    samples.add(mc);
    print_totals("all pictures", samples);
    if (!reencode) print_beside_peers(samples);
    Totals generated;
    const char *kinds[] = {"generated hires", "generated multicolour", "generated petscii"};
    for (int kind = 0; kind < 3; ++kind) {
      generate_picture(kind);
      crunch_and_run(kinds[kind], export_prg(dir), &generated);
    }
    print_totals("generated", generated);
  }
  gchar *prg = g_build_filename(dir, "export.prg", nullptr);
  g_remove(prg);
  g_free(prg);
  g_rmdir(dir);
  g_free(dir);
  return 0;
}
