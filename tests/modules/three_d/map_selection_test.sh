#!/usr/bin/env bash
# Runs map_module under Wine on $DISPLAY and drives its map selection: right, up, the mouse to
# the left of the centre, the digit 9 (keypad 9's code), Escape and the right button (both
# ignored), then a left click decides. Each input waits until the flight it starts has ended
# (the module notes every paint; a second without one ends the wait). The module checks the
# frames it sees and the place and height it gets back, in run.log.
# Usage: map_selection_test.sh RUNA1_EXE MODULE WORK_DIR
set -u
host="$1" module="$2" work="$3"
rm -rf "$work"
mkdir -p "$work"
cp "$module" "$work/map_module.zpe"
cd "$work"
RUNA1_AUTO_ANSWER=ok wine "$host" map_module.zpe 2>stderr.txt &
game=$!
finish() { kill -0 "$game" 2>/dev/null && kill "$game" 2>/dev/null; }
trap finish EXIT

for _ in $(seq 600); do
  grep -qx ready report.txt 2>/dev/null && break
  kill -0 "$game" 2>/dev/null || break
  sleep 0.1
done
if ! grep -qx ready report.txt 2>/dev/null; then
  echo "the module did not reach the selection" >&2
  cat run.log stderr.txt >&2
  exit 1
fi
read -r _ left top < <(grep '^client ' report.txt)

# Waits until paints.txt has stood still for a second (at most 30 s).
settle() {
  local quiet=0 size
  for _ in $(seq 300); do
    size=$(stat -c %s paints.txt 2>/dev/null || echo 0)
    sleep 0.1
    if [ "$(stat -c %s paints.txt 2>/dev/null || echo 0)" = "$size" ]; then quiet=$((quiet + 1)); else quiet=0; fi
    [ $quiet -ge 10 ] && return
  done
}

settle
xdotool key Right
settle
xdotool key Up
settle
xdotool mousemove $((left + 40)) $((top + 120))
settle
xdotool key 9
settle
xdotool key Escape
xdotool click 3
settle
xdotool click 1

for _ in $(seq 600); do
  kill -0 "$game" 2>/dev/null || break
  sleep 0.1
done
if kill -0 "$game" 2>/dev/null; then
  echo "the selection did not end on the click" >&2
  cat run.log >&2
  exit 1
fi
wait "$game"
status=$?
cat run.log
[ $status = 0 ] || { echo "runa1.exe ended with $status" >&2; cat stderr.txt >&2; exit 1; }
if grep -q '^FAIL' run.log; then exit 1; fi
for check in main-window frame-centre-is-target frame-corner-is-ground frame-shown listener-called-once \
             decision-frame-shown place-chosen height-chosen screens-detached; do
  grep -qx "ok $check" run.log || { echo "missing: $check" >&2; exit 1; }
done
