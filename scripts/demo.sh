#!/usr/bin/env bash
# Runs the demo game under Wine. With a display that answers, in a real window until the player
# presses Escape. Otherwise, or with --headless, on a private Xvfb: waits for the first frame,
# moves the pointer into the window, presses keys, clicks if asked, saves a screenshot, and ends
# the game with Escape (killing it only if Escape does not end it). A headless run has a Wine
# prefix of its own: the processes of one wineserver must share one X display, and the
# project's prefix may be serving a test run on another.
set -u
usage="usage: demo.sh [--build ROOT] [--headless] [--screenshot PNG] [--report FILE]
                [--pointer X,Y] [--keys 'KEY ...'] [--click] [--wineprefix DIR]
  --build ROOT       the build root holding win32/ (default: build)
  --headless         run on a private Xvfb even when a display is there
  --screenshot PNG   where a headless run saves its screenshot (default: ROOT/demo/screenshot.png)
  --report FILE      where the game reports its state (default: ROOT/demo/report.txt)
  --pointer X,Y      client point to move the pointer to (default: 560,130)
  --keys 'KEY ...'   keys to press, by X key name (default: 'Right Right Down')
  --click            click the left button after the keys (swaps the picture)
  --wineprefix DIR   the Wine prefix of a headless run (default: ROOT/demo/wine)"
here="$(cd "$(dirname "$0")" && pwd)"
root=build headless=0 screenshot= report= pointer=560,130 keys="Right Right Down" click=0 prefix=
while [ $# -gt 0 ]; do
  case "$1" in
    --build) root="$2"; shift 2 ;;
    --headless) headless=1; shift ;;
    --screenshot) screenshot="$2"; shift 2 ;;
    --report) report="$2"; shift 2 ;;
    --pointer) pointer="$2"; shift 2 ;;
    --keys) keys="$2"; shift 2 ;;
    --click) click=1; shift ;;
    --wineprefix) prefix="$2"; shift 2 ;;
    -h|--help) echo "$usage"; exit 0 ;;
    *) echo "demo.sh: unknown argument $1" >&2; echo "$usage" >&2; exit 2 ;;
  esac
done
root="$(cd "$root" && pwd)"
host="$root/win32/bin/runa1.exe"
module="$root/win32/demo/demo.zpe"
for file in "$host" "$module"; do
  [ -f "$file" ] || { echo "demo.sh: $file is missing; build it with make demo" >&2; exit 1; }
done
screenshot="${screenshot:-$root/demo/screenshot.png}"
report="${report:-$root/demo/report.txt}"
mkdir -p "$(dirname "$screenshot")" "$(dirname "$report")"
. "$here/x11-env.sh"
[ $headless = 1 ] || runa1_display_reachable || headless=1
if [ $headless = 1 ]; then
  prefix="${prefix:-$root/demo/wine}"
  mkdir -p "$prefix"
  export RUNA1_WINEPREFIX="$(cd "$prefix" && pwd)"
fi
. "$here/wine-env.sh"
# The host reads a leading slash as a switch: give it Windows paths. Wine shows the Unix root
# as drive Z:.
windows_path() { local path="$1"; echo "Z:${path//\//\\}"; }

if [ $headless = 0 ]; then
  echo "demo: arrow keys scroll, the mouse moves the lens, a click swaps the picture, Escape ends"
  runa1_wine_prefix
  exec wine "$host" "$(windows_path "$module")"
fi

game=
finish() {
  if [ -n "$game" ] && kill -0 "$game" 2>/dev/null; then kill "$game" 2>/dev/null; wait "$game" 2>/dev/null; fi
  wineserver -k 2>/dev/null  # the prefix is this run's own
  runa1_stop_xvfb
}
trap finish EXIT
runa1_start_xvfb || { echo "demo.sh: no display and Xvfb does not start" >&2; exit 1; }
runa1_wine_prefix
rm -f "$report" "$screenshot"
# Wine's helper processes, which inherit the game's error output, complain when the private X
# server goes away at the end; that is expected and not worth a line.
RUNA1_DEMO_REPORT="$(windows_path "$report")" RUNA1_AUTO_ANSWER=ok wine "$host" "$(windows_path "$module")" \
  2> >(grep -v --line-buffered '^X connection to .* broken' >&2) &
game=$!

# Lines of the report: "client LEFT TOP", "ready", "state ...", "end".
for _ in $(seq 600); do
  grep -qx ready "$report" 2>/dev/null && break
  kill -0 "$game" 2>/dev/null || break
  sleep 0.1
done
if ! grep -qx ready "$report" 2>/dev/null; then
  echo "demo.sh: the game did not show its first frame" >&2
  exit 1
fi
read -r _ left top < <(grep '^client ' "$report")
xdotool mousemove $((left + ${pointer%,*})) $((top + ${pointer#*,}))
sleep 0.3
for key in $keys; do
  xdotool key "$key"
  sleep 0.1
done
[ $click = 1 ] && xdotool click 1
# The game reports each change it applies; once the report has stood still for a second, the
# window has long repainted (up to 10 s on a busy machine).
quiet=0
for _ in $(seq 100); do
  size=$(stat -c %s "$report")
  sleep 0.1
  if [ "$(stat -c %s "$report")" = "$size" ]; then quiet=$((quiet + 1)); else quiet=0; fi
  [ $quiet -ge 10 ] && break
done
xwd -root -silent | xwdtopnm 2>/dev/null | pnmtopng >"$screenshot"
xdotool key Escape
for _ in $(seq 100); do
  kill -0 "$game" 2>/dev/null || break
  sleep 0.1
done
if kill -0 "$game" 2>/dev/null; then
  echo "demo.sh: the game did not end on Escape; killing it" >&2
  status=1
else
  wait "$game"
  status=$?
fi
echo "demo: screenshot of the headless run: $screenshot"
exit $status
