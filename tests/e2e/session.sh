#!/bin/sh
# Runs a test program in a private X session: its own X server (Xvfb picks a free display and
# tells its number once it accepts connections) and openbox, up before any window shows (it
# runs its --startup command once it manages the screen); both end with the program.
folder=$(mktemp -d) || exit 1
Xvfb -displayfd 3 -screen 0 1920x1440x24 -nolisten tcp 3>"$folder/display" 2>/dev/null &
server=$!
trap 'kill $server $manager 2>/dev/null; rm -rf "$folder"' EXIT
while [ ! -s "$folder/display" ]; do
  kill -0 $server 2>/dev/null || { echo "no X server" >&2; exit 1; }
  sleep 0.05
done
export DISPLAY=":$(cat "$folder/display")"
openbox --sm-disable --startup "touch $folder/managed" 2>/dev/null &
manager=$!
while [ ! -e "$folder/managed" ]; do
  kill -0 $manager 2>/dev/null || { echo "no window manager" >&2; exit 1; }
  sleep 0.05
done
"$@"
