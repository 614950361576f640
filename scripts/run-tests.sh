#!/usr/bin/env bash
# Runs every test of the three builds: native, native with sanitizers (and the fuzzers), and
# win32 under Wine. Usage: run-tests.sh BUILD_ROOT
set -u
root="${1:-build}"
here="$(cd "$(dirname "$0")" && pwd)"
status=0

run() {
  local name="$1"
  shift
  echo "== $name tests"
  if ! (cd "$root/$name" && ctest --output-on-failure -j2 "$@"); then status=1; fi
}

run native
run asan

# Window tests need an X server, sound tests an audio server: each run gets its own Xvfb and
# its own PulseAudio with a null sink, whose monitor the sound tests record.
. "$here/x11-env.sh"
runa1_start_xvfb || true
. "$here/pulse-env.sh"
runa1_start_pulse "$(cd "$root" && pwd)/pulse" || echo "run-tests: PulseAudio did not start; the sound tests will fail" >&2
trap 'runa1_stop_xvfb; runa1_stop_pulse' EXIT

. "$here/wine-env.sh"
runa1_wine_prefix
wineserver -p
runa1_wine_audio_pulse
# Wine's helper processes (services, devices) outlive the program that started them; start
# them here, away from CTest's output pipes, which they would otherwise hold open.
wine cmd /c exit >/dev/null 2>&1 </dev/null || true
run win32
wineserver -k 2>/dev/null || true
exit $status
