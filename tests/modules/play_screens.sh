#!/usr/bin/env bash
# Runs a test module under Wine on the test run's X server, in the current folder, and plays
# the player for it: each "do N VERB X Y" line of the module's run.log is done at client point
# (X, Y) with xdotool and answered with the file done-N. The verbs record-start and record-stop
# start and stop a recording of the PulseAudio rig's sink into record-X.raw (scripts/
# pulse-record.sh). Then every check named after the module must be "ok" in run.log;
# on failure the log and the host's stderr are shown.
# Usage: play_screens.sh RUNA1_EXE MODULE.zpe CHECK...
set -u
host="$1" module="$2"
shift 2
recorder="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)/scripts/pulse-record.sh"

# The pointer starts where an earlier test left it: away from the window, so that no control
# is lit before the module asks for a move.
xdotool mousemove 1020 760
RUNA1_AUTO_ANSWER=ok wine "$host" "$module" >stderr.txt 2>&1 &
game=$!

# Waits up to ten seconds for a marker file of the recorder.
await() {
  for _ in $(seq 200); do
    [ -e "$1" ] && return 0
    sleep 0.05
  done
  return 1
}

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
      record-start) sh "$recorder" start "record-$x.raw" && await "record-$x.raw.started" ;;
      record-stop) sh "$recorder" stop "record-$x.raw" && await "record-$x.raw.done" ;;
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
for check in "$@"; do
  grep -qx "ok $check" run.log || { echo "missing: ok $check"; failed=1; }
done
if [ $failed != 0 ]; then
  cat run.log stderr.txt
  exit 1
fi
