#!/usr/bin/env bash
# Runs screens_module under Wine on the test run's X server and plays the player for it: each
# "do N VERB X Y" line of the module's log is done with xdotool at client point (X, Y) and
# answered with the file done-N. Then every check of the log must have passed.
# Usage: screens_run_test.sh RUNA1_EXE MODULE_DIR WORK_DIR
set -u
host="$1" modules="$2" work="$3"
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

left= top= handled=0
while kill -0 "$game" 2>/dev/null; do
  if [ -z "$left" ] && grep -q '^client ' run.log 2>/dev/null; then
    read -r _ left top < <(grep '^client ' run.log)
  fi
  while [ -n "$left" ]; do
    line=$(grep '^do ' run.log | sed -n "$((handled + 1))p")
    [ -n "$line" ] || break
    read -r _ number verb x y <<<"$line"
    at="$((left + x)) $((top + y))"
    case "$verb" in
      move) xdotool mousemove $at ;;
      click) xdotool mousemove $at sleep 0.1 click 1 ;;
      rclick) xdotool mousemove $at sleep 0.1 click 3 ;;
      press) xdotool mousemove $at sleep 0.1 mousedown 1 ;;
      release) xdotool mousemove $at sleep 0.1 mouseup 1 ;;
    esac
    touch "done-$(printf %03d "$number")"
    handled=$number
  done
  sleep 0.05
done
wait "$game"
status=$?

failed=0
[ "$status" = 0 ] || { echo "the host ended with $status"; failed=1; }
grep -qx end run.log || { echo "the module did not reach its end"; failed=1; }
if grep -q FAIL run.log; then failed=1; fi
for check in main-window cursor-files-load load-shows-page load-kind-marks load-pictures load-date-glyphs \
  load-empty-slots load-page-buttons hover-lights-slot damaged-slot-stays-dark damaged-slot-not-taken \
  next-skips-to-page-4 previous-to-page-2 previous-to-page-1 load-click-returns-slot save-shows-page \
  save-has-no-page-buttons used-slot-asks right-button-ignored-in-box no-closes-box asks-again \
  yes-returns-slot press-moved-off-gives-nothing right-button-cancels empty-slot-taken-at-once bad-page \
  missing-archive sparse-shows-page sparse-draws-no-glyphs sparse-cancels; do
  grep -qx "ok $check" run.log || { echo "missing: ok $check"; failed=1; }
done
if [ $failed != 0 ]; then
  cat run.log stderr.txt
  exit 1
fi
