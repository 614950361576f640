#!/usr/bin/env bash
# Runs screens_module under Wine on the test run's X server and plays the player for it
# (tests/modules/play_screens.sh); every check of the log must have passed.
# Usage: screens_run_test.sh RUNA1_EXE MODULE_DIR WORK_DIR
set -u
host="$1" modules="$2" work="$3"
player="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/play_screens.sh"
rm -rf "$work"
mkdir -p "$work"
cp "$modules/screens_module.zpe" "$work/"
cp -r "$modules/art" "$modules/sparse" "$work/"
cd "$work" || exit 1

exec bash "$player" "$host" screens_module.zpe main-window cursor-files-load load-shows-page load-kind-marks \
  load-pictures load-date-glyphs load-empty-slots load-page-buttons hover-lights-slot damaged-slot-stays-dark \
  damaged-slot-not-taken next-skips-to-page-4 previous-to-page-2 previous-to-page-1 load-click-returns-slot \
  save-shows-page save-has-no-page-buttons used-slot-asks right-button-ignored-in-box no-closes-box asks-again \
  yes-returns-slot press-moved-off-gives-nothing right-button-cancels empty-slot-taken-at-once bad-page \
  missing-archive sparse-shows-page sparse-draws-no-glyphs sparse-cancels
