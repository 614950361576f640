#!/usr/bin/env bash
# Runs the demo game under Wine. With a display that answers, in a real window until the player
# ends it. Otherwise, or with --headless, on a private Xvfb and a private PulseAudio server:
# the tour visits every screen of the game by keys and clicks, saves a screenshot of each and
# records the sound to a WAV file. With --keys, --pointer, --click or --screenshot a headless run
# shows only the title instead: it waits for the first frame, moves the pointer into the window,
# presses the keys, clicks if asked, saves one screenshot, and ends the game with Escape; the
# tour ends it with the main menu's quit. The game is killed only if it does not end. A headless
# run has a Wine prefix of its own: the processes of one wineserver must share one X display,
# and the project's prefix may be serving a test run on another.
set -u
usage="usage: demo.sh [--build ROOT] [--headless] [--tour DIR] [--screenshot PNG] [--report FILE]
                [--pointer X,Y] [--keys 'KEY ...'] [--click] [--wineprefix DIR]
  --build ROOT       the build root holding win32/ (default: build)
  --headless         run on a private Xvfb even when a display is there
  --tour DIR         where the tour saves its screenshots and recording (default: ROOT/demo/tour)
  --screenshot PNG   where a headless run saves its screenshot (default: ROOT/demo/screenshot.png)
  --report FILE      where the game reports its state (default: ROOT/demo/report.txt)
  --pointer X,Y      client point to move the pointer to (default: 560,130)
  --keys 'KEY ...'   keys to press, by X key name (default: 'Right Right Down')
  --click            click the left button after the keys (swaps the picture)
  --wineprefix DIR   the Wine prefix of a headless run (default: ROOT/demo/wine)"
here="$(cd "$(dirname "$0")" && pwd)"
root=build headless=0 tour=1 tourDir= screenshot= report= pointer=560,130 keys="Right Right Down" click=0 prefix=
while [ $# -gt 0 ]; do
  case "$1" in
    --build) root="$2"; shift 2 ;;
    --headless) headless=1; shift ;;
    --tour) tourDir="$2"; shift 2 ;;
    --screenshot) screenshot="$2"; tour=0; shift 2 ;;
    --report) report="$2"; shift 2 ;;
    --pointer) pointer="$2"; tour=0; shift 2 ;;
    --keys) keys="$2"; tour=0; shift 2 ;;
    --click) click=1; tour=0; shift ;;
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
tourDir="${tourDir:-$root/demo/tour}"
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
  echo "demo: on the title Enter opens the start-up menu, L loads, Escape ends; the arrow keys scroll,"
  echo "      the mouse moves the lens and a click swaps the picture; in the story Enter or a click"
  echo "      goes on, Escape or the right button opens the main menu"
  runa1_wine_prefix
  exec wine "$host" "$(windows_path "$module")"
fi

game=
finish() {
  if [ -n "$game" ] && kill -0 "$game" 2>/dev/null; then kill "$game" 2>/dev/null; wait "$game" 2>/dev/null; fi
  [ $tour = 1 ] && [ -f "$tourDir/sound.raw.pid" ] && [ ! -f "$tourDir/sound.raw.done" ] && bash "$here/pulse-record.sh" stop "$tourDir/sound.raw"
  wineserver -k 2>/dev/null  # the prefix is this run's own
  runa1_stop_xvfb
  [ $tour = 1 ] && runa1_stop_pulse
}
trap finish EXIT
runa1_start_xvfb || { echo "demo.sh: no display and Xvfb does not start" >&2; exit 1; }
runa1_wine_prefix
rm -f "$report" "$screenshot"
if [ $tour = 1 ]; then
  . "$here/pulse-env.sh"
  runa1_start_pulse "$root/demo/pulse" || { echo "demo.sh: PulseAudio does not start" >&2; exit 1; }
  runa1_wine_audio_pulse
  rm -rf "$tourDir" "$root/win32/demo/saves"
  mkdir -p "$tourDir"
  # The sound configuration as a fresh installation has it: the tour sets the voice one step
  # down on the configuration screen, and the recording shows that the game follows it.
  wine reg delete 'HKCU\Software\Runa1\Demo\Config' /f >/dev/null 2>&1
  wine reg delete 'HKCU\Software\Runa1\Demo\Gallery' /f >/dev/null 2>&1
  bash "$here/pulse-record.sh" start "$tourDir/sound.raw"
  for _ in $(seq 100); do [ -f "$tourDir/sound.raw.started" ] && break; sleep 0.05; done
fi
# Wine's helper processes, which inherit the game's error output, complain when the private X
# server goes away at the end; that is expected and not worth a line.
RUNA1_DEMO_REPORT="$(windows_path "$report")" RUNA1_AUTO_ANSWER=ok wine "$host" "$(windows_path "$module")" \
  2> >(grep -v --line-buffered '^X connection to .* broken' >&2) &
game=$!

# Waits until the report holds `count` (default 1) lines that begin with `text`; 30 s at most.
wait_for() {
  local text="$1" count="${2:-1}" seen
  for _ in $(seq 300); do
    seen=$(grep -c "^$text" "$report" 2>/dev/null)
    [ "${seen:-0}" -ge "$count" ] && return 0
    kill -0 "$game" 2>/dev/null || break
    sleep 0.1
  done
  echo "demo.sh: the game did not report \"$text\" ($count)" >&2
  exit 1
}
# The game reports each change it applies; once the report has stood still for a second, the
# window has long repainted (up to 10 s on a busy machine).
settle() {
  local quiet=0 size
  for _ in $(seq 100); do
    size=$(stat -c %s "$report")
    sleep 0.1
    if [ "$(stat -c %s "$report")" = "$size" ]; then quiet=$((quiet + 1)); else quiet=0; fi
    [ $quiet -ge 10 ] && break
  done
}
snap() { xwd -root -silent | xwdtopnm 2>/dev/null | pnmtopng >"$1"; }
# A screenshot once two taken half a second apart agree (for 10 s at most): the map scene's
# camera flies from place to place without telling.
snap_still() {
  snap "$1"
  for _ in $(seq 20); do
    sleep 0.5
    snap "$1.next"
    if cmp -s "$1" "$1.next"; then break; fi
    mv "$1.next" "$1"
  done
  rm -f "$1.next"
}
# At a client point of the window.
point() { xdotool mousemove $((left + $1)) $((top + $2)); }
# Points at (x, y) until the game reports its lens there: a motion that comes before the window
# takes it is lost.
show_lens() {
  for _ in $(seq 30); do
    point $(($1 - 1)) "$2"
    point "$1" "$2"
    sleep 0.3
    grep -q " $1 $2\$" "$report" && return 0
  done
}
# A spot of the window where no control lies: the keys go to the window under the pointer.
away() { point 600 20; }
# A left click at a client point, once the screen under it has seen the pointer arrive.
click_at() {
  point "$1" "$2"
  sleep 0.3
  xdotool click 1
}

wait_for ready
read -r _ left top < <(grep '^client ' "$report")
# The opening, cut short with the right button while its title card stands: the card has faded
# in by 1.5 s and fades out at 4 s.
wait_for "screen opening"
away
sleep 2.5
[ $tour = 1 ] && snap "$tourDir/opening.png"
xdotool click 3
wait_for "opening "
if [ $tour = 0 ]; then
  show_lens "${pointer%,*}" "${pointer#*,}"
  for key in $keys; do
    xdotool key "$key"
    sleep 0.1
  done
  [ $click = 1 ] && xdotool click 1
  settle
  snap "$screenshot"
  xdotool key Escape
else
  # After the opening: the title with the lens; the start-up menu; the sound configuration, where the voice goes
  # one step down; a new game: the first entry of the story, the main menu over it (left with
  # the right button), the map, the place chosen (the second, to the right of the first), the
  # save screen (its first slot taken), the last entry, the staff roll, the ending; back to the title, the
  # start-up menu's bonus menu: the CG mode with the pictures seen, the viewer of the second
  # place's, the music mode playing the first track; the start-up menu's continue: the load
  # screen and the story loaded from the save; the main menu's quit and its confirmation box.
  show_lens 560 130
  wait_for "music "
  settle
  snap "$tourDir/title.png"
  away
  xdotool key Return
  wait_for "screen startup"
  settle
  snap "$tourDir/startup.png"
  click_at 320 240  # SOUND
  wait_for "screen sound"
  click_at 312 259  # the voice volume's left arrow
  away
  sleep 1
  snap_still "$tourDir/sound.png"
  click_at 556 447  # the way out
  wait_for "config "
  wait_for "screen startup" 2
  click_at 320 130  # NEW GAME
  away
  wait_for "text shown"
  settle
  snap "$tourDir/scene.png"
  xdotool key Escape
  wait_for "screen menu"
  settle
  snap "$tourDir/menu.png"
  xdotool click 3
  wait_for "menu -1"
  sleep 1
  xdotool key Return
  wait_for "text shown" 2
  sleep 1
  point 320 240
  xdotool key Return
  wait_for "screen map"
  sleep 1
  xdotool key Right
  sleep 0.5
  snap_still "$tourDir/map.png"
  xdotool key Return
  wait_for "place "
  away
  wait_for "text shown" 3
  settle
  snap "$tourDir/place.png"
  xdotool key Return
  wait_for "screen save"
  away
  settle
  snap "$tourDir/save.png"
  click_at 56 90
  wait_for "saved "
  wait_for "text shown" 4
  xdotool key Return
  wait_for "screen roll"
  sleep 3  # the first picture has faded in by 2 s and stands until 4.4 s
  snap "$tourDir/roll.png"
  xdotool click 3
  wait_for "screen ending"
  settle
  snap "$tourDir/ending.png"
  xdotool key Return
  wait_for "screen title" 2
  xdotool key Return
  wait_for "screen startup" 3
  click_at 320 295  # BONUS
  wait_for "screen bonus"
  away
  settle
  snap "$tourDir/bonus.png"
  click_at 320 185  # CG MODE
  wait_for "screen cg"
  away
  sleep 1
  snap_still "$tourDir/cg.png"
  click_at 216 72  # the second place's picture
  sleep 1
  snap_still "$tourDir/cgview.png"
  xdotool click 3  # out of the viewer; the pointer goes back where it was
  sleep 1
  click_at 608 454  # BACK
  wait_for "cg "
  wait_for "screen bonus" 2
  click_at 320 240  # MUSIC MODE
  wait_for "screen tracks"
  click_at 160 44  # the first track, the title's song
  away
  sleep 1
  snap_still "$tourDir/tracks.png"
  click_at 587 443  # BACK
  wait_for "tracks "
  wait_for "screen bonus" 3
  click_at 320 295  # BACK
  wait_for "screen startup" 4
  click_at 320 185  # CONTINUE
  wait_for "screen load"
  away
  settle
  snap "$tourDir/load.png"
  click_at 56 90
  wait_for "loaded "
  away
  wait_for "text shown" 5
  settle
  snap "$tourDir/loaded.png"
  sleep 1
  xdotool key Escape
  wait_for "screen menu" 2
  click_at 208 359  # QUIT
  away
  sleep 1
  snap_still "$tourDir/quit.png"
  click_at 246 276  # yes
fi
for _ in $(seq 100); do
  kill -0 "$game" 2>/dev/null || break
  sleep 0.1
done
if kill -0 "$game" 2>/dev/null; then
  echo "demo.sh: the game did not end; killing it" >&2
  status=1
else
  wait "$game"
  status=$?
fi
if [ $tour = 0 ]; then
  echo "demo: screenshot of the headless run: $screenshot"
  exit $status
fi
bash "$here/pulse-record.sh" stop "$tourDir/sound.raw"
for _ in $(seq 100); do [ -f "$tourDir/sound.raw.done" ] && break; sleep 0.05; done
sox -t raw -r 44100 -e signed -b 16 -c 2 "$tourDir/sound.raw" "$tourDir/sound.wav"
rm -f "$tourDir"/sound.raw.*
echo "demo: the tour's screenshots and recording:"
for file in opening title startup sound scene menu map place save roll ending bonus cg cgview tracks load loaded quit; do echo "  $tourDir/$file.png"; done
echo "  $tourDir/sound.wav"
exit $status
