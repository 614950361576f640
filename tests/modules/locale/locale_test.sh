#!/usr/bin/env bash
# The host on a system whose code page is not Japanese (C.UTF-8): a host box with Japanese text,
# texts from the system that Shift-JIS cannot hold refused with a message, and a module that
# checks its title, a file named 表ソ.txt and its base directory, and gets "ソ表a" typed into its
# window by xdotool as the bytes of Shift-JIS.
# Usage: locale_test.sh SOURCE_DIR RUNA1_EXE MODULE WORK_DIR (with DISPLAY set)
set -u
source_dir="$1" host="$2" module="$3" work="$4"
export LC_ALL=C.UTF-8 LANG=C.UTF-8  # Wine takes the code page from the locale of its process
. "$source_dir/scripts/wine-env.sh"
export RUNA1_AUTO_ANSWER=ok
status=0
fail() { echo "locale_test: $*" >&2; status=1; }
expect_line() {  # FILE TEXT
  grep -qF -- "$2" "$1" || fail "missing in $(basename "$1"): $2
$(cat "$1")"
}
[ -n "${DISPLAY:-}" ] || { echo "locale_test: needs DISPLAY (an X server)" >&2; exit 1; }

rm -rf "$work"
mkdir -p "$work/café"
cp "$module" "$work/ソフト表.zpe"
cp "$module" "$work/café/game.zpe"
cd "$work"

box='runa1: message box "Z.P.K.モジュールローダ": '
wine "$host" 表示.zpe >missing.txt 2>&1
expect_line missing.txt "${box}表示.zpeをオープンできません。"

wine "$host" café/game.zpe >command-line.txt 2>&1
expect_line command-line.txt "${box}コマンドライン「caf<U+00E9>/game.zpe」にシフトJISで表せない文字があります。"
(cd café && wine "$host" game.zpe) >full-path.txt 2>&1
expect_line full-path.txt "${box}game.zpeのフルパスにシフトJISで表せない文字があります。"
(cd café && wine "$host" /BASEDIR=. '..\ソフト表.zpe') >base-directory.txt 2>&1
expect_line base-directory.txt "<U+00E9>」にシフトJISで表せない文字があります。"
expect_line base-directory.txt "${box}基準ディレクトリ「"
[ ! -e café/run.log ] || fail "a refused start ran the module"

wine "$host" ソフト表.zpe >game.txt 2>&1 &
game=$!
for _ in $(seq 600); do
  grep -qx ready run.log 2>/dev/null && break
  kill -0 $game 2>/dev/null || break
  sleep 0.1
done
if grep -qx ready run.log 2>/dev/null; then
  read -r _ left top < <(grep '^client ' run.log)
  xdotool mousemove $((left + 40)) $((top + 40)) click 1
  # Keys go by their Unicode keysyms (xdotool would type ソ as the legacy kana keysym, which
  # stands for the half-width form), each mapped by xdotool to a spare key that Wine must learn
  # first: a ・ goes until the module has one, then ソ 表 a.
  for _ in $(seq 40); do
    xdotool key U30FB
    sleep 0.5
    grep -qx primed run.log && break
  done
  for key in U30BD U8868 a; do
    xdotool key "$key"
    sleep 0.3
  done
else
  fail "the module did not open its window"
fi
for _ in $(seq 400); do
  kill -0 $game 2>/dev/null || break
  sleep 0.1
done
kill $game 2>/dev/null
wait $game 2>/dev/null
for check in not-a-japanese-system file-created file-found file-read-back file-name base-directory window-title \
             typed-reach-hook typed-reach-class; do
  expect_line run.log "ok $check"
done
grep -q FAIL run.log && fail "$(cat run.log)"
[ -f "表ソ.txt" ] || fail "表ソ.txt is not on the disk under its name: $(ls)"
[ $status = 0 ] && echo "locale_test: all checks passed"
exit $status
