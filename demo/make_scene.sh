#!/usr/bin/env bash
# Makes the scene's files from its script (UTF-8, "part<TAB>text<TAB>reading" lines, # comments):
# scene.sjis, the entries without their readings in Shift-JIS for the game, and voiceNN.wav,
# the reading of entry NN spoken by espeak-ng in its Japanese voice.
# Usage: make_scene.sh SCRIPT FOLDER
set -euo pipefail
script="$1" folder="$2"
mkdir -p "$folder"
grep -v '^#' "$script" | cut -f1,2 | iconv -f UTF-8 -t SHIFT_JIS >"$folder/scene.sjis"
number=0
while IFS=$'\t' read -r _ _ reading; do
  espeak-ng -v ja -s 150 -w "$folder/$(printf 'voice%02d.wav' "$number")" "$reading"
  number=$((number + 1))
done < <(grep -v '^#' "$script")
