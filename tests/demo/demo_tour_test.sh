#!/usr/bin/env bash
# Runs the demo game's tour headless (scripts/demo.sh --tour) and checks what it saw and heard:
# the choices the game reports, each screenshot against the screen the game must show, and the
# recording for the title's music and the first voice. The tour uses a Wine prefix of its own,
# made on the first run.
# Usage: demo_tour_test.sh SOURCE_DIR BUILD_ROOT NATIVE_BIN WORK_DIR
set -eu
source_dir="$1" build_root="$2" native_bin="$3" work="$4"
mkdir -p "$work"
bash "$source_dir/scripts/demo.sh" --build "$build_root" --headless --tour "$work/tour" \
  --report "$work/report.txt" --wineprefix "$build_root/demo/tour-wine"
# What the player chose and saw on the way: the voice one step down on the sound configuration,
# the main menu left with the right button, the second place's and the ending's pictures
# unlocked, the CG and music modes left by their back buttons, the main menu's quit; the end.
# The songs play from MIDI, not from their waves; the opening and the staff roll were cut short.
for line in "music midi title" "opening cut" "roll cut" "config 1 8 7 2" "menu -1" "unlocked 1" "unlocked 3" \
  "cg 10" "tracks 0" "menu 5" end; do
  grep -qx "$line" "$work/report.txt" || { echo "the game did not report \"$line\"" >&2; exit 1; }
done
"$native_bin/demo_tour_check" --tour "$work/tour" --pictures "$build_root/win32/demo" --report "$work/report.txt"
