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
. "$(dirname "${BASH_SOURCE[0]}")/player_steps.sh"

# The pointer starts where an earlier test left it: away from the window, so that no control
# is lit before the module asks for a move.
xdotool mousemove 1020 760
RUNA1_AUTO_ANSWER=ok wine "$host" "$module" >stderr.txt 2>&1 &
game=$!
runa1_play_steps "$game"
wait "$game"
runa1_check_log $? "$@"
