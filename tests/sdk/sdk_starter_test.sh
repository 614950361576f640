#!/usr/bin/env bash
# The SDK as a newcomer gets it: the folder alone, copied elsewhere, builds its starter module with
# the README's two commands, from its own zpelink and support library.
# Usage: sdk_starter_test.sh SDK_DIR WORK_DIR
set -eu
sdk="$1" work="$2"
fail() { echo "sdk_starter_test: $*" >&2; exit 1; }
for file in bin/zpelink bin/arc bin/mqimage bin/textres bin/midirender include/runa1.h lib/libruna1_support.a \
            cmake/zpe_module.cmake cmake/runa1_toolchain.cmake starter/game.c starter/CMakeLists.txt; do
  [ -f "$sdk/$file" ] || fail "$file is missing from $sdk"
done
rm -rf "$work"
mkdir -p "$work"
cp -r "$sdk" "$work/sdk"
cd "$work/sdk/starter"
cmake -S . -B build -DCMAKE_TOOLCHAIN_FILE=../cmake/runa1_toolchain.cmake >configure.txt 2>&1 ||
  fail "configuring failed: $(cat configure.txt)"
cmake --build build >build.txt 2>&1 || fail "building failed: $(cat build.txt)"
[ "$(head -c 5 build/game.zpe)" = Vomar ] || fail "build/game.zpe is no module"
grep -q "$work/sdk/bin/zpelink" build.txt build/CMakeFiles/*.dir/build.make 2>/dev/null ||
  grep -rq "$work/sdk/bin/zpelink" build || fail "the module was not linked by the SDK's zpelink"
grep -rq "$work/sdk/lib/libruna1_support.a" build || fail "the module did not take the SDK's support library"
"$work/sdk/bin/zpelink" --help >/dev/null || fail "zpelink --help failed"
echo "sdk_starter_test: the starter built game.zpe"
