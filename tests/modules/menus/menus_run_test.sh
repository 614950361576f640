#!/usr/bin/env bash
# Runs menus_module under Wine and plays the player for it (tests/modules/play_screens.sh).
# The help page's kind (".html") opens, for this run, by a copy of the page to the work folder,
# so that the module sees that the menu opened it and nothing outside the test is started.
# Afterwards the music's level in the recordings must follow the volume steps: 8, then 5
# (1/8 of the level), then 7 (1/2).
# Usage: menus_run_test.sh RUNA1_EXE MODULE_DIR WORK_DIR
set -u
host="$1" modules="$2" work="$3"
player="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/play_screens.sh"
rm -rf "$work"
mkdir -p "$work/art/HELP"
cp "$modules/menus_module.zpe" "$modules/tone.wav" "$work/"
cp "$modules"/art/*.arc "$modules"/art/*.cur "$work/art/"
echo "<html><body>help</body></html>" >"$work/art/HELP/INDEX.HTML"
cd "$work" || exit 1

copy="cmd.exe /c copy \"%1\" \"Z:$(pwd | tr / '\\')\\help-opened.html\""
wine reg add 'HKCR\.html' /ve /d runa1.helppage /f >/dev/null 2>&1
wine reg add 'HKCR\runa1.helppage\shell\open\command' /ve /d "$copy" /f >/dev/null 2>&1
unregister() {
  wine reg delete 'HKCR\.html' /f >/dev/null 2>&1
  wine reg delete 'HKCR\runa1.helppage' /f >/dev/null 2>&1
}
trap unregister EXIT

bash "$player" "$host" menus_module.zpe main-window main-over-background main-lights-button help-opens-page \
  restart-asks right-button-ignored-in-box no-back-to-menu main-returns-0 quit-asks quit-yes-returns-5 \
  restart-yes-returns-4 corner-leaves main-right-button-leaves unknown-kinds kind-1-column \
  title-ignores-right-button kind-1-returns-2 kind-2-column kind-2-returns-1 kind-3-column quit-gives-minus-1 \
  bonus-shows bonus-lights-music bonus-returns-1 bonus-back-gives-minus-1 tone-plays config-shows \
  arrow-moves-knob drag-moves-knob midi-chosen config-saved without-wave-music-midi wave-button-dead \
  right-button-saves-midi missing-archives missing-config-writes-nothing || exit 1

# The RMS level of a recording, leaving out its first 0.3 s (the device's latency).
level() {
  sox -t raw -r 44100 -e signed -b 16 -c 2 "record-$1.raw" -n trim 0.3 1 stat 2>&1 | awk '/RMS +amplitude/ {print $3}'
}
full=$(level 1) step5=$(level 2) step7=$(level 3)
echo "music levels: step 8 $full, step 5 $step5, step 7 $step7"
awk -v full="$full" -v a="$step5" -v b="$step7" 'BEGIN {
  if (full < 0.2) { print "the tone was not heard at full volume"; exit 1 }
  if (a / full < 0.10 || a / full > 0.15) { print "step 5 is not 1/8 of step 8"; exit 1 }
  if (b / full < 0.42 || b / full > 0.58) { print "step 7 is not 1/2 of step 8"; exit 1 }
}'
