#!/usr/bin/env bash
# Runs movie_module under Wine on the test run's X server and plays the player for it: each
# "do N VERB X Y" line of the module's log is done with xdotool (key: Escape; rclick, lclick:
# a click at client point X, Y) and answered with the file done-N. Then every check of the log
# must have passed.
# Usage: movie_run_test.sh RUNA1_EXE MODULE_DIR WORK_DIR
set -u
host="$1" modules="$2" work="$3"
rm -rf "$work"
mkdir -p "$work"
cp "$modules/movie_module.zpe" "$modules/movies/frames.avi" "$modules/movies/damaged.avi" "$work/"
cd "$work" || exit 1

xdotool mousemove 1020 760
RUNA1_AUTO_ANSWER=ok wine "$host" movie_module.zpe >stderr.txt 2>&1 &
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
      key) xdotool key Escape ;;
      rclick) xdotool mousemove $at sleep 0.1 click 3 ;;
      lclick) xdotool mousemove $at sleep 0.1 click 1 ;;
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
for check in main-window missing-file-fails missing-file-has-text missing-file-returns-at-once \
  missing-file-leaves-no-window missing-file-without-buffer damaged-file-returns plays-frames-change \
  plays-in-destination-on-black plays-to-the-end plays-keys-and-clicks-do-not-skip plays-leaves-no-window \
  escape-skips right-button-skips; do
  grep -qx "ok $check" run.log || { echo "missing: ok $check"; failed=1; }
done
if [ $failed != 0 ]; then
  cat run.log stderr.txt
  exit 1
fi
