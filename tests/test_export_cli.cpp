// Exports for demo coders. In the editor: the preview's verdict on a bar that runs past the
// picture's last line.
#include "bars_fixture.h"
#include "file_commands.h"
#include "preview.h"

namespace {

std::string preview_status() {
  return gtk_label_get_text(GTK_LABEL(lookup_widget(window_preview, "label_preview_status")));
}

}  // namespace

// A new user's bar in Extended mode: given Height 43 first and then Line 240, it is drawn down
// to line 282, which the program's tables cannot show. Brought back, it matches again.
TEST_F(ExportTest, PreviewNamesABarThatRunsPastThePicture) {
  write_file(dir.file("pic.art"), art_studio_picture(0x10, 6));
  ASSERT_EQ(open_picture(dir.file("pic.art").c_str(), 1), 1);
  click("toolbutton_add_bar_left");
  edit_cell(1, 1, "0", "43");
  edit_cell(1, 0, "0", "240");
  ASSERT_EQ(bars(1), (Bars{{240, 43, 1}}));
  activate("menuitem_tools_preview");
  EXPECT_EQ(preview_status(),
            "PAL 6569, frame 60: 32 lines differ from the editor, from line 251: the left bar at line 240 (height 43) "
            "runs past line 250");
  edit_cell(1, 1, "0", "11");
  gtk_button_clicked(GTK_BUTTON(lookup_widget(window_preview, "button_preview_restart")));
  EXPECT_EQ(preview_status(), "PAL 6569, frame 60: Bars match the editor");
  gtk_widget_destroy(window_preview);
}
