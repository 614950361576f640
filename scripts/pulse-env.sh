# Sourced: a private PulseAudio server whose only sink is a null sink, for tests that listen to
# what the host plays (Wine plays into it through its PulseAudio driver; parec records the
# sink's monitor). Its runtime and state folders lie in the build tree; it reads no system or
# user configuration and stays up while idle.

RUNA1_PULSE_SINK=runa1_sink

# Starts the server in DIR (default: build/pulse of this checkout), exports PULSE_SERVER,
# PULSE_RUNTIME_PATH, PULSE_STATE_PATH and PULSE_CLIENTCONFIG for its clients and sets
# RUNA1_PULSE_PID. Returns 1 if pulseaudio is missing or does not answer.
runa1_start_pulse() {
  RUNA1_PULSE_PID=
  command -v pulseaudio >/dev/null 2>&1 || return 1
  local dir="${1:-$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build/pulse}"
  rm -rf "$dir/runtime" "$dir/state"
  mkdir -p "$dir/runtime" "$dir/state"
  chmod 700 "$dir/runtime"
  cat >"$dir/server.pa" <<PA
load-module module-native-protocol-unix socket=$dir/runtime/native auth-anonymous=1
load-module module-null-sink sink_name=$RUNA1_PULSE_SINK rate=44100 channels=2
set-default-sink $RUNA1_PULSE_SINK
PA
  # Clients never start a server of their own when this one is gone.
  printf 'autospawn = no\n' >"$dir/client.conf"
  export PULSE_RUNTIME_PATH="$dir/runtime" PULSE_STATE_PATH="$dir/state"
  export PULSE_SERVER="unix:$dir/runtime/native" PULSE_CLIENTCONFIG="$dir/client.conf"
  pulseaudio -n --file="$dir/server.pa" --daemonize=no --exit-idle-time=-1 --system=no --use-pid-file=no \
    --disallow-exit --log-target=file:"$dir/server.log" >/dev/null 2>&1 </dev/null &
  RUNA1_PULSE_PID=$!
  for _ in $(seq 50); do pactl info >/dev/null 2>&1 && return 0; sleep 0.1; done
  runa1_stop_pulse
  return 1
}

runa1_stop_pulse() {
  if [ -n "${RUNA1_PULSE_PID:-}" ]; then
    kill "$RUNA1_PULSE_PID" 2>/dev/null
    wait "$RUNA1_PULSE_PID" 2>/dev/null
  fi
  RUNA1_PULSE_PID=
}

# Makes Wine in the current prefix use its PulseAudio driver (the registry value that lists the
# audio drivers to try), so that it never falls to another one.
runa1_wine_audio_pulse() {
  wine reg add 'HKCU\Software\Wine\Drivers' /v Audio /d pulse /f >/dev/null 2>&1
}
