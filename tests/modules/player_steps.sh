# Sourced by the runners of end-to-end tests: plays the player for a module that asks for its
# steps with player_steps.h. Needs xdotool and the X server of the test run.

# Until process GAME ends, does each "do N VERB X Y" line of run.log (in the working directory)
# with xdotool at client point (X, Y), the client origin coming from the log's "client LEFT TOP"
# line, and answers it with the file done-N. VERB: move, click, rclick, press, release (the left
# button), escape (the key; X and Y unused), record-start and record-stop (a recording of the
# PulseAudio rig's sink into record-X.raw, scripts/pulse-record.sh).
runa1_recorder="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)/scripts/pulse-record.sh"

# Waits up to ten seconds for FILE to appear.
runa1_await_file() {
  for _ in $(seq 200); do
    [ -e "$1" ] && return 0
    sleep 0.05
  done
  return 1
}

runa1_play_steps() {
  local game="$1" left= top= handled=0 line number verb x y at
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
        escape) xdotool key Escape ;;
        record-start) sh "$runa1_recorder" start "record-$x.raw" && runa1_await_file "record-$x.raw.started" ;;
        record-stop) sh "$runa1_recorder" stop "record-$x.raw" && runa1_await_file "record-$x.raw.done" ;;
      esac
      touch "done-$(printf %03d "$number")"
      handled=$number
    done
    sleep 0.05
  done
}

# Passes when the host ended with STATUS 0, the module's log reached its line "end", holds no
# "FAIL" and holds "ok CHECK" for every CHECK; otherwise tells what is wrong and shows run.log
# and stderr.txt.
runa1_check_log() {
  local status="$1" failed=0 check
  shift
  [ "$status" = 0 ] || { echo "the host ended with $status"; failed=1; }
  grep -qx end run.log || { echo "the module did not reach its end"; failed=1; }
  if grep -q FAIL run.log; then failed=1; fi
  for check in "$@"; do
    grep -qx "ok $check" run.log || { echo "missing: ok $check"; failed=1; }
  done
  if [ $failed != 0 ]; then
    cat run.log stderr.txt
    return 1
  fi
}
