// Installed into a prefix and started by its bare name through PATH from another folder, the
// editor's export finds the cruncher beside it; nothing named exomizer lands on the PATH.
#include "harness.h"
#include "testutil.h"

TEST(Install, InstalledAndStartedThroughPath) {
  if (!g_file_test(QUILLBAR_CMAKE, G_FILE_TEST_IS_EXECUTABLE) ||
      !g_file_test(QUILLBAR_BUILD_DIR "/cmake_install.cmake", G_FILE_TEST_EXISTS))
    GTEST_SKIP() << "no " QUILLBAR_CMAKE " or no install rules in " QUILLBAR_BUILD_DIR;
  TempDir home, work, prefix;
  ASSERT_EQ(run({QUILLBAR_CMAKE, "--install", QUILLBAR_BUILD_DIR, "--prefix", prefix.path()}), 0);
  EXPECT_FALSE(g_file_test(prefix.file("bin/exomizer").c_str(), G_FILE_TEST_EXISTS));
  const std::string path = g_getenv("PATH");
  g_setenv("PATH", (prefix.file("bin") + ":" + path).c_str(), TRUE);
  App app("quillbar", home.path(), work.path().c_str());
  g_setenv("PATH", path.c_str(), TRUE);
  ASSERT_TRUE(app.started());
  std::vector<unsigned char> koala(10003, 0x1B);
  koala[0] = 0x00, koala[1] = 0x60;
  write_file(work.file("colours.kla"), koala);
  choose(app, "F3", "Select a picture file", work.file("colours.kla"), "colours.kla");
  // The cruncher runs before the About box opens (an error box would have the focus instead).
  choose(app, "alt+f e", "Save executable file", work.file("demo"), "colours.kla");
  press_keys("alt+h a");
  ASSERT_TRUE(app.wait_focus("About Quillbar")) << "an error box?";
  press_keys("Return");
  EXPECT_LT(read_text(work.file("demo.prg")).size(), koala.size());
  EXPECT_TRUE(app.quit("ctrl+q"));
}
