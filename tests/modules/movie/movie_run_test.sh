#!/usr/bin/env bash
# Runs movie_module under Wine on the test run's X server, plays the player for it with
# xdotool, and checks its log.
# Usage: movie_run_test.sh RUNA1_EXE MODULE_DIR WORK_DIR
set -u
host="$1" modules="$2" work="$3"
. "$(dirname "$0")/../player_steps.sh"
rm -rf "$work"
mkdir -p "$work"
cp "$modules/movie_module.zpe" "$modules/movies/frames.avi" "$modules/movies/damaged.avi" "$work/"
cd "$work" || exit 1

xdotool mousemove 1020 760
RUNA1_AUTO_ANSWER=ok wine "$host" movie_module.zpe >stderr.txt 2>&1 &
game=$!
runa1_play_steps "$game"
wait "$game"
runa1_check_log $? main-window missing-file-fails missing-file-has-text missing-file-returns-at-once \
  missing-file-leaves-no-window missing-file-without-buffer damaged-file-returns plays-frames-change \
  plays-in-destination-on-black plays-to-the-end plays-keys-and-clicks-do-not-skip plays-leaves-no-window \
  escape-skips right-button-skips
