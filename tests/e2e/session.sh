#!/bin/sh
# Runs a test program in a private X session: its own X server (xvfb-run) with openbox, whose
# start the harness waits for. Both end with the program.
exec xvfb-run -a -s "-screen 0 1920x1440x24 -nolisten tcp" sh -c 'openbox --sm-disable & exec "$@"' session "$@"
