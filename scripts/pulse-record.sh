#!/bin/sh
# Records what the private PulseAudio server's sink plays (scripts/pulse-env.sh), for tests:
#   pulse-record.sh start FILE   records the sink's monitor into FILE (raw s16le, 2 channels,
#                                44100 Hz) and writes FILE.started once the recorder is connected
#   pulse-record.sh stop FILE    ends that recording and writes FILE.done once it is complete
# Both return at once; the marker files tell when they are done, so that callers that cannot
# wait for a process (a Windows program under Wine) can poll for them.
set -u
command="$1" file="$2"
sink="${RUNA1_PULSE_SINK:-runa1_sink}"
case "$command" in
start)
  rm -f "$file" "$file.started" "$file.done" "$file.pid" "$file.keeper"
  (
    # The monitor of a sink delivers only while the sink plays; a stream of silence keeps it
    # playing for the whole recording, so that idle time is recorded and nothing is missed
    # while the sink would start up.
    pacat --device="$sink" --format=s16le --rate=44100 --channels=2 --raw /dev/zero &
    echo $! >"$file.keeper"
    parec --device="$sink.monitor" --format=s16le --rate=44100 --channels=2 --raw --latency-msec=10 >"$file" &
    echo $! >"$file.pid"
    # Ready when the recording has begun (give up after five seconds), and a moment later, when
    # the stream runs steadily.
    for _ in $(seq 100); do
      [ -s "$file" ] && break
      sleep 0.05
    done
    sleep 0.5
    touch "$file.started"
  ) >/dev/null 2>&1 </dev/null &
  ;;
stop)
  (
    for pid in $(cat "$file.pid" "$file.keeper" 2>/dev/null); do
      kill "$pid" 2>/dev/null
      while kill -0 "$pid" 2>/dev/null; do sleep 0.02; done
    done
    touch "$file.done"
  ) >/dev/null 2>&1 </dev/null &
  ;;
*)
  echo "usage: pulse-record.sh start|stop FILE" >&2
  exit 2
  ;;
esac
