// undo: undo and redo of the bars in the running editor. Every command that may change
// the bars, the border colour or the input mode opens a UserAction for its duration; the
// action compares the editor before and after and records the difference as one step.
#pragma once

#include <gtk/gtk.h>

#include "history.h"

extern History undo_history;

// Marks one user action. Nested actions belong to the outermost one; actions that only
// move a selection record nothing.
class UserAction {
 public:
  UserAction();
  ~UserAction();
  UserAction(const UserAction &) = delete;
  UserAction &operator=(const UserAction &) = delete;

 private:
  bool outermost_;
  EditorState before_{};
};

// The live editor as a state, and the live editor set to a state (then redrawn).
EditorState undo_capture_state(void);
void undo_restore_state(const EditorState &state);

// Starts with an empty history (after start-up has applied the options).
void undo_module_init(void);
// Takes back the last step / applies the last undone one; 1 when there was one.
int undo_last_step(void);
int redo_last_step(void);

// The Edit menu; each item is sensitive only while it has a step to act on.
void undo_update_menu(void);
void on_menuitem_undo_activate(GtkMenuItem *menuitem, gpointer user_data);
void on_menuitem_redo_activate(GtkMenuItem *menuitem, gpointer user_data);
