#!/usr/bin/env bash
# Runs the demo game headless: the pointer goes to client point (420, 300), the arrow keys
# move the view two steps right and two down, a click swaps in the pattern, and Escape ends
# the game. The screenshot must show exactly that frame. The run uses the Wine prefix of headless
# demo runs (BUILD_ROOT/demo/wine), made on the first run.
# Usage: demo_screenshot_test.sh SOURCE_DIR BUILD_ROOT NATIVE_BIN WORK_DIR
set -eu
source_dir="$1" build_root="$2" native_bin="$3" work="$4"
mkdir -p "$work"
bash "$source_dir/scripts/demo.sh" --build "$build_root" --headless --screenshot "$work/screenshot.png" \
  --report "$work/report.txt" --pointer 420,300 --keys "Right Right Right Left Down Down" --click
grep -qx end "$work/report.txt" || { echo "the game did not report its end" >&2; exit 1; }
# From the start at (900, 250), 16 pixels a step.
"$native_bin/demo_check" --screenshot "$work/screenshot.png" --pictures "$build_root/win32/demo" \
  --report "$work/report.txt" --scroll 932,282 --picture 1 --pointer 420,300 --expected "$work/expected.png"
