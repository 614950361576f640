#!/usr/bin/env bash
# Runs screens_module under Wine on the test run's X server and plays the player for it: each
# "do N VERB X Y" line of the module's log is done with xdotool at client point (X, Y) and
# answered with the file done-N. Then every check of the log must have passed.
# Usage: screens_run_test.sh RUNA1_EXE MODULE_DIR WORK_DIR
set -u
host="$1" modules="$2" work="$3"
. "$(dirname "$0")/../player_steps.sh"
rm -rf "$work"
mkdir -p "$work"
cp "$modules/screens_module.zpe" "$work/"
cp -r "$modules/art" "$modules/sparse" "$work/"
cd "$work" || exit 1

# The pointer starts where an earlier test left it: away from the window, so that no control
# is lit before the module asks for a move.
xdotool mousemove 1020 760
RUNA1_AUTO_ANSWER=ok wine "$host" screens_module.zpe >stderr.txt 2>&1 &
game=$!

runa1_play_steps "$game"
wait "$game"
runa1_check_log $? main-window cursor-files-load load-shows-page load-kind-marks load-pictures load-date-glyphs \
  load-empty-slots load-page-buttons hover-lights-slot damaged-slot-stays-dark damaged-slot-not-taken \
  next-skips-to-page-4 previous-to-page-2 previous-to-page-1 load-click-returns-slot save-shows-page \
  save-has-no-page-buttons used-slot-asks right-button-ignored-in-box no-closes-box asks-again \
  yes-returns-slot press-moved-off-gives-nothing right-button-cancels empty-slot-taken-at-once bad-page \
  missing-archive sparse-shows-page sparse-draws-no-glyphs sparse-cancels
